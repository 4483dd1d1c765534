#include "discovery/key_catalogue.hpp"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>
#include <span>
#include <string_view>

namespace {

constexpr std::size_t longest_key = 63;

// The keys of each class. A class is a table, not a field of each key, because several classes share keys.
constexpr auto excluded_keys = std::to_array<std::string_view>({
    "QUERY.ALL",
    "QUERY.STATUS",
    "QUERY.VIDEO_TIMING",
    "QUERY.SERVICES",
    "QUERY.AUDIO_INFO",
    "QUERY.KEY",
    "QUERY.LINK_INFO",
    "QUERY.NETWORK_INFO",
    "QUERY.LLDP_LOCAL_INFO",
    "QUERY.LLDP_NEIGHBOR_INFO",
    "QUERY.TEMPERATURE",
    "QUERY.DIAGNOSTICS",
    "QUERY.DMESG",
    "QUERY.USB_INFO",
    "DANTE.DEVICE_ID",
    "UNIT.KEST_INSTALLED",
    "SET.DANTE_DEVICE_NAME",
    "DANTE.REBOOT",
    "UNIT.FACTORY_DEFAULT",
    "UNIT.FLUSH",
    "UNIT.SAVE",
    "UNIT.REBOOT",
    "VW.ACTIVE",
    "STREAM.CONNECT",
    "UNIT.FU",
    "UNIT.SET_ID",
    "MAC.ADDRESS",
    "VW.ENABLED_NOT_ENABLED",
    "UNIT.PASSWORD",
    "SET.UNIT_ID",
    "FACTORY.DEFAULT",
    "VIDEO.SEND_CEC_GENERIC",
    "UNIT.MASS_CONFIG",
    "SERIAL.MODE",
    "SERVICE.8021X_SHOWCFG",
    "SERVICE.8021X_STATUS",
    "SERVICE.8021X_USERNAME",
    "SERVICE.8021X_PASSWORD",
    "SERVICE.8021X_PROTO",
    "SERVICE.HTTP_ENABLED",
    "SERVICE.HTTPS_ENABLED",
    "SERVICE.TELNET_ENABLED",
    "SERVICE.SSH_ENABLED",
    "SERVICE.8021X.ENABLED",
    "SERVICE.THUMBS_ENABLED",
    "VLAN.TAG_DANTE",
    "VLAN.TAG_ENCODER",
    "VLAN.TRUNK_MODE",
    "STREAM.ENABLED",
    "VLAN.TAG_EXPANSION",
    "DANTE.SET_DEVICE_NAME",
    "STREAM.ADDRESS",
    "STREAM.SWITCHING",
    "BT.BUTTON_ENABLED",
    "BT.DISCONNECT",
    "BT.FORGET",
    "BT.LED_MODE",
    "BT.NAME",
    "BT.PAIR",
    "BT.SET_VOLUME",
    "QUERY.BT_STATUS",
    "BT.VER",
    "BT.ON",
    "BT.OFF",
    "UNIT.MCD_TTL",
    "UNIT.MCD_MODE",
    "MV.BORDER",
    "MV.BORDER_ON",
    "MV.BORDER_OFF",
    "MV.HRESET",
    "MV.FDEFAULT",
    "MV.CUSTOM_POS",
    "MV.CUSTOM_MOV",
    "MV.RESOLUTION",
    "MV.BUTTON",
    "MV.GATEWAY_GET",
    "MV.IPADDR_GET",
    "MV.NETMASK_GET",
    "MV.IPMODE_GET",
    "MV.GATEWAY_SET",
    "MV.IPADDR_SET",
    "MV.NETMASK_SET",
    "MV.IPMODE_SET",
    "QUERY.MV_NETWORK",
    "MV.GET_VERSION",
    "CONFIG.FLUSH",
    "CONFIG.SAVE",
    "IP.MTU",
    "VIDEO.UPDATE_EDID",
    "VIDEO.OSD_ENABLED",
    "STREAM.CLIENTS",
    "UNIT.PSE_STATUS",
    "UNIT.RESET_XYZ",
    "UNIT.GPIO",
    "UNIT.GPIO_IN1",
    "UNIT.GPIO_IN2",
    "UNIT.GPIO_OUT1",
    "UNIT.GPIO_OUT2",
    "UNIT.IR_SEND",
    "IR.SEND_CMD",
});

constexpr auto status_keys = std::to_array<std::string_view>({
    "UNIT.MAC_ADDRESS",
    "UNIT.FIRMWARE",
    "UNIT.FIRMWARE_DATE",
    "UNIT.MODEL",
    "UNIT.SERIAL",
    "UNIT.GPIO_IN1",
    "UNIT.GPIO_IN2",
    "IP.ADDRESS",
    "IP.NETMASK",
    "IP.GATEWAY",
    "IP.DNS_SERVER",
    "IP.DHCP_STATUS",
});

constexpr auto encoder_keys = std::to_array<std::string_view>({
    "STREAM.BIT_RATE",
    "STREAM.FRAME_RATE",
    "STREAM.RTP_ADDRESS",
    "STREAM.RTP_PORT",
    "VIDEO.EDID",
    "VIDEO.HDCP_FORCE_OFF",
});

constexpr auto decoder_keys = std::to_array<std::string_view>({
    "VW.ACTIVE",        "VW.COLUMN",    "VW.ENABLED",        "VW.MAX_COLUMNS",
    "VW.MAX_ROWS",      "VW.NAME",      "VW.OVERALL_HEIGHT", "VW.OVERALL_WIDTH",
    "VW.ROTATE",        "VW.ROW",       "VW.STRETCH",        "VW.VISIBLE_HEIGHT",
    "VW.VISIBLE_WIDTH", "STREAM.HOST",  "VIDEO.FORMAT",      "VIDEO.SOURCE_TIMEOUT",
    "VIDEO.POWER_SAVE", "VIDEO.OUTPUT", "VIDEO.GENLOCK",     "VIDEO.INFO_TEXT",
    "VIDEO.OSD_TEXT",   "AUDIO.MUTE",
});

constexpr auto extended_keys = std::to_array<std::string_view>({
    "AUDIO.DAC_MUTE",
    "AUDIO.DAC_MUX",
    "IP.VLAN_TAG_DANTE",
    "IP.VLAN_TAG_STREAM",
    "IP.VLAN_TRUNK_MODE",
});

constexpr auto second_gen_keys = std::to_array<std::string_view>({
    "IP.VLAN_TAG_DANTE",
    "IP.VLAN_TAG_STREAM",
    "IP.VLAN_TRUNK_MODE",
    "IP.VLAN_TAG_EXPANSION",
    "VIDEO.EDID1",
    "VIDEO.EDID2",
    "VIDEO.EDID3",
});

struct key_class {
  std::uint16_t bit;
  std::span<const std::string_view> keys;
};

constexpr auto key_classes = std::to_array<key_class>({
    {KEY_CLASS_EXCLUDED, excluded_keys},
    {KEY_CLASS_STATUS, status_keys},
    {KEY_CLASS_ENCODER, encoder_keys},
    {KEY_CLASS_DECODER, decoder_keys},
    {KEY_CLASS_EXTENDED, extended_keys},
    {KEY_CLASS_SECOND_GEN, second_gen_keys},
});
static_assert(excluded_keys.size() == 100 && status_keys.size() == 12 && encoder_keys.size() == 6 &&
              decoder_keys.size() == 22 && extended_keys.size() == 5 && second_gen_keys.size() == 7);
static_assert(std::ranges::all_of(key_classes, [](const key_class& row) {
  return std::ranges::all_of(row.keys, [](std::string_view key) { return key.size() <= longest_key; });
}));

bool belongs_to(std::string_view key, const key_class& row) {
  if (row.bit == KEY_CLASS_EXCLUDED && key.ends_with('_')) return true;
  return std::ranges::find(row.keys, key) != row.keys.end();
}

}  // namespace

std::uint16_t classify_key(char* key, std::uint16_t classes) {
  if (key == nullptr || *key == '\0' || std::strlen(key) > longest_key) return 0;
  if (char* line_feed = std::strchr(key, '\n')) *line_feed = '\0';
  unsigned found = 0;
  for (const key_class& row : key_classes) {
    if ((classes & row.bit) != 0 && belongs_to(key, row)) found |= row.bit;
  }
  return static_cast<std::uint16_t>(found);
}
