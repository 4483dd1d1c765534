################################################################################
#
# handler-cgi
#
# For an external tree: set HANDLER_CGI_OVERRIDE_SRCDIR in local.mk to a checkout,
# in which script/build has built the console (build/console).
#
################################################################################

HANDLER_CGI_VERSION = 0.1.0
HANDLER_CGI_SITE = $(BR2_EXTERNAL_HANDLER_PATH)/..
HANDLER_CGI_SITE_METHOD = local
HANDLER_CGI_LICENSE = Proprietary
HANDLER_CGI_CONF_OPTS = -DBUILD_TESTING=OFF -DHANDLER_STATIC=OFF
HANDLER_CGI_BUILD_OPTS = --target handler.cgi

# The build's own install rules are not used: the unit wants two places and nothing else.
define HANDLER_CGI_INSTALL_TARGET_CMDS
	$(INSTALL) -D -m 0755 $(@D)/handler.cgi $(TARGET_DIR)/www/cgi-bin/handler.cgi
	if [ -d $(@D)/build/console ]; then cp -R $(@D)/build/console/. $(TARGET_DIR)/www/; fi
endef

$(eval $(cmake-package))
