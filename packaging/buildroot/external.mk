include $(sort $(wildcard $(BR2_EXTERNAL_HANDLER_PATH)/package/*/*.mk))
