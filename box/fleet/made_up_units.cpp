#include "made_up_units.hpp"

#include <strings.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <string>

#include "address.hpp"

namespace fleet {

namespace {

constexpr auto encoder_models =
    std::to_array<std::string_view>({"TX610", "TX620", "TX630", "KestT", "KestT-PL", "KestT-PL-K",
                                     "KestT-PL-RF", "KestT-2", "QV8T", "T-PL", "T-PL-K", "T-PL-RF"});
constexpr auto decoder_models =
    std::to_array<std::string_view>({"RX610", "RX620", "RX630", "KestR", "KestR-2", "QV8R"});

// The parameters of each kind of unit in the order in which it reports them. A value in braces differs from
// unit to unit.
constexpr std::string_view identity =
    "UNIT.MODEL={model}&UNIT.ID={id}&UNIT.SERIAL={serial}&IP.ADDRESS={address}&UNIT.MAC_ADDRESS={mac}"
    "&UNIT.FIRMWARE={firmware}&UNIT.FIRMWARE_DATE=2023-10-17&IP.NETMASK=255.255.0.0&IP.GATEWAY=10.77.0.254"
    "&IP.DNS_SERVER=10.77.0.253&IP.DHCP_STATUS=OFF&IP.STATIC_ADDRESS={address}&IP.STATIC_NETMASK=255.255.0.0"
    "&IP.STATIC_GATEWAY=10.77.0.254&IP.STATIC_DNS_SERVER=10.77.0.253&DANTE.DEVICE_NAME={name}";
constexpr std::string_view of_encoders =
    "&STREAM.RTP_ADDRESS={stream}&STREAM.RTP_PORT=5004&STREAM.BIT_RATE={rate}&STREAM.FRAME_RATE=60"
    "&VIDEO.EDID=DEFAULT&VIDEO.HDCP_FORCE_OFF=FALSE&VIDEO.INPUT=HDMI&VIDEO.INPUT_FORMAT=1920x1080p60"
    "&VIDEO.INPUT_HDCP=FALSE&AUDIO.INPUT=AUTO&AUDIO.INPUT_GAIN=0&USB.ROLE=HOST";
constexpr std::string_view of_decoders =
    "&STREAM.HOST={host}&VW.NAME={name}&VW.ENABLED=FALSE&VW.COLUMN=1&VW.ROW=1&VW.MAX_COLUMNS=1&VW.MAX_ROWS=1"
    "&VW.ROTATE=0&VW.STRETCH=FIT&VIDEO.FORMAT=1920x1080p60&VIDEO.SOURCE_TIMEOUT=10&VIDEO.POWER_SAVE=OFF"
    "&VIDEO.OUTPUT=ON&VIDEO.GENLOCK=FALSE&VIDEO.OSD_TEXT={name}&VIDEO.INFO_TEXT={id}&AUDIO.MUTE=FALSE";
constexpr std::string_view of_wall_plates =  // and of the second generation
    "&AUDIO.DAC_MUTE=FALSE&AUDIO.DAC_MUX=HDMI&IP.VLAN_TAG_DANTE=0&IP.VLAN_TAG_STREAM=0"
    "&IP.VLAN_TRUNK_MODE=OFF";
constexpr std::string_view of_second_generation =
    "&IP.VLAN_TAG_EXPANSION=0&VIDEO.EDID1=DEFAULT&VIDEO.EDID2=DEFAULT&VIDEO.EDID3=DEFAULT";
constexpr std::string_view services =
    "&STREAM.ENABLED=TRUE&IP.MTU=1500&UNIT.GPIO_IN1=0&UNIT.GPIO_IN2=1&UNIT.GPIO_OUT1=0&UNIT.GPIO_OUT2=0"
    "&UNIT.MCD_TTL=64&UNIT.MCD_MODE=1&SERIAL.MODE=RS232&SERIAL.BAUD_RATE=9600&SERVICE.HTTP_ENABLED=TRUE"
    "&SERVICE.TELNET_ENABLED=FALSE&UNIT.PSE_STATUS=OK";

// The number with leading zeros.
std::string padded(unsigned number, std::size_t digits) {
  const std::string text = std::to_string(number);
  return std::string(digits - std::min(digits, text.size()), '0') + text;
}

// 10.77.0.1 for number 1, then 10.77.1.1 to 10.77.1.254, 10.77.2.1 and so on.
std::uint32_t address_of(unsigned number) {
  if (number < 2) return 0x0a4d0001;  // 10.77.0.1, the unit that the box simulates
  const unsigned place = number - 2;
  return 0x0a4d0000U | (1 + place / 254) << 8U | (1 + place % 254);
}

// 239.77.x.y, where x.y is that of the encoder's address.
std::string stream_of(unsigned number) {
  return address_text(0xef4d0000U | (address_of(number) & 0xffffU));
}

bool encodes(unsigned number) {
  return number == 1 || number % 2 == 0;
}

std::string_view model_of(unsigned number) {
  if (number == 1) return "KestT-2";
  const unsigned turn = number / 2 - 1;
  return encodes(number) ? encoder_models[turn % encoder_models.size()]
                         : decoder_models[turn % decoder_models.size()];
}

// 02:4B:00 and the number in six digits.
std::string mac_of(unsigned number) {
  std::string text = "02:4B:00";
  const std::string digits = padded(number, 6);
  for (std::size_t place = 0; place < 6; place += 2) text.append(":").append(digits, place, 2);
  return text;
}

// Some names contain blanks, and every fifth one a comma, which the CSV must quote.
std::string name_of(unsigned number) {
  const bool comma = number % 5 == 0;
  const std::string digits = std::to_string(number);
  if (encodes(number)) return comma ? "Stage " + digits + ", right" : "Source-" + digits;
  return "Room " + digits + (comma ? ", left" : "");
}

// The value for a placeholder. A decoder's stream host is the encoder one number below it.
std::string filled(std::string_view value, unsigned number) {
  if (value == "{model}") return std::string{model_of(number)};
  if (value == "{id}") return "UNIT-" + padded(number, 3);
  if (value == "{serial}") return "KU" + padded(number, 6);
  if (value == "{address}") return address_text(address_of(number));
  if (value == "{mac}") return mac_of(number);
  if (value == "{firmware}") return "3.4." + std::to_string(number % 7);
  if (value == "{stream}") return stream_of(number);
  if (value == "{host}") return stream_of(number - 1);
  if (value == "{rate}") return std::to_string(50 + 50 * (number % 4));
  if (value == "{name}") return name_of(number);
  return std::string{value};
}

// All pairs of a unit, with placeholders.
std::string pairs_of(unsigned number) {
  const std::string_view model = model_of(number);
  const bool second_generation = model.ends_with("-2");
  std::string pairs{identity};
  pairs += encodes(number) ? of_encoders : of_decoders;
  if (second_generation || model.find("T-PL") != std::string_view::npos) pairs += of_wall_plates;
  if (second_generation) pairs += of_second_generation;
  return pairs.append(services);
}

}  // namespace

unit_description make_up_unit(unsigned number, const faults& every_unit) {
  unit_description unit{{}, every_unit, 0};
  const std::string pairs = pairs_of(number);
  for (std::string_view rest = pairs; !rest.empty();) {
    const std::string_view pair = rest.substr(0, rest.find('&'));
    rest.remove_prefix(std::min(rest.size(), pair.size() + 1));
    const std::size_t equals = pair.find('=');
    unit.known.push_back({std::string{pair.substr(0, equals)}, filled(pair.substr(equals + 1), number)});
  }
  return unit;
}

bool is_encoder(std::string_view model) {
  return std::ranges::any_of(encoder_models, [model](std::string_view known) {
    return known.size() == model.size() && strncasecmp(known.data(), model.data(), model.size()) == 0;
  });
}

}  // namespace fleet
