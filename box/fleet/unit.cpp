#include "unit.hpp"

#include <algorithm>
#include <array>
#include <span>
#include <utility>

#include "address.hpp"
#include "made_up_units.hpp"

namespace fleet {

namespace {

// Limits on settings, so that requests cannot make a unit grow without end.
constexpr std::size_t most_parameters = 256;
constexpr std::size_t longest_key = 63;
constexpr std::size_t longest_value = 1024;

// Settings that a unit reports under another key than the one they are sent under.
struct renamed_key {
  std::string_view sent_as, kept_as;
};

constexpr auto renamed_keys = std::to_array<renamed_key>({
    {"IP.ADDRESS", "IP.STATIC_ADDRESS"},
    {"IP.NETMASK", "IP.STATIC_NETMASK"},
    {"IP.GATEWAY", "IP.STATIC_GATEWAY"},
    {"IP.DNS_SERVER", "IP.STATIC_DNS_SERVER"},
    {"UNIT.SET_ID", "UNIT.ID"},
    {"DANTE.SET_DEVICE_NAME", "DANTE.DEVICE_NAME"},
});
constexpr auto address_keys = std::span{renamed_keys}.first<4>();

// Keys that no setting can change: they say what the unit is or measures. UNIT.ID is changed with
// UNIT.SET_ID.
constexpr auto fixed_keys = std::to_array<std::string_view>(
    {"UNIT.ID", "UNIT.SERIAL", "UNIT.MODEL", "UNIT.MAC_ADDRESS", "UNIT.FIRMWARE", "UNIT.FIRMWARE_DATE",
     "IP.DHCP_STATUS", "UNIT.GPIO_IN1", "UNIT.GPIO_IN2"});

// The keys in the answer to QUERY.STATUS.
constexpr auto status_keys =
    std::to_array<std::string_view>({"UNIT.MODEL", "UNIT.ID", "UNIT.SERIAL", "IP.ADDRESS", "UNIT.FIRMWARE",
                                     "UNIT.MAC_ADDRESS", "IP.DHCP_STATUS", "STREAM.HOST", "VW.NAME"});

void append_pair(std::string& text, std::string_view key, std::string_view value) {
  if (value.empty()) return;
  if (!text.empty()) text += '&';
  text.append(key).append("=").append(value);
}

std::string_view kept_as(std::string_view key) {
  const auto row = std::ranges::find(renamed_keys, key, &renamed_key::sent_as);
  return row == renamed_keys.end() ? key : row->kept_as;
}

}  // namespace

unit::unit(unit_description description, std::size_t index)
    : index_{index},
      behaviour_{description.behaviour},
      running_{std::move(description.known)},
      saved_{running_},
      started_{running_},
      address_{description.lives_at} {
  if (address_ == 0) address_ = read_address(value("IP.ADDRESS")).value_or(0);
}

bool unit::is_meant(std::string_view target) const {
  if (target.empty() || target == "NONE") return false;
  return target == "ALL" || target == value("UNIT.SERIAL");
}

std::optional<answer> unit::act_on(const request& asked) {
  if (asks_for(asked, behaviour_.silent_at)) return std::nullopt;
  if (asks_for(asked, behaviour_.refuse_at)) {
    return answer{answer_kind::acknowledgement, acknowledgement("FAIL"), false};
  }
  for (const request_pair& pair : asked.pairs) {
    if (step_of(pair) == step::set) set(pair);
  }
  if (asks_for(asked, step::save)) saved_ = running_;
  const bool reboots = asks_for(asked, step::reboot);
  if (asks_for(asked, step::query)) return answer{answer_kind::query, query_text(asked), reboots};
  return answer{answer_kind::acknowledgement, acknowledgement("SUCCESS"), reboots};
}

void unit::restart(moment from) {
  down_from_ = from;
}

void unit::advance_to(moment now) {
  if (!down_from_ || now <= *down_from_ || is_down(now)) return;
  down_from_.reset();
  start_saved();
}

bool unit::is_down(moment when) const {
  if (!down_from_) return false;
  return when > *down_from_ && when < *down_from_ + std::chrono::milliseconds{behaviour_.reboot_ms};
}

void unit::set(const request_pair& setting) {
  if (std::ranges::find(fixed_keys, setting.key) != fixed_keys.end()) return;
  if (setting.key.size() > longest_key || setting.value.size() > longest_value) return;
  const std::string_view key = kept_as(setting.key);
  if (value(key).empty() && running_.size() >= most_parameters) return;
  set_value(running_, key, setting.value);
}

// An address that was not set since the last start stays as it is: a unit may live at another one than its
// static address. An unreadable address changes nothing.
parameters unit::after_restart() const {
  parameters next = saved_;
  for (const renamed_key& row : address_keys) {
    const std::string wanted{value_of(saved_, row.kept_as)};
    if (wanted == value_of(started_, row.kept_as) || !read_address(wanted)) continue;
    set_value(next, row.sent_as, wanted);
  }
  return next;
}

void unit::start_saved() {
  const std::string_view wanted = value_of(saved_, "IP.STATIC_ADDRESS");
  if (wanted != value_of(started_, "IP.STATIC_ADDRESS")) address_ = read_address(wanted).value_or(address_);
  saved_ = after_restart();
  running_ = saved_;
  started_ = saved_;
}

std::string unit::query_text(const request& asked) const {
  const auto wants = [&asked](std::string_view key) {
    return std::ranges::any_of(asked.pairs, [key](const request_pair& pair) {
      return pair.key == key && step_of(pair) == step::query;
    });
  };
  std::string text;
  if (wants("QUERY.ALL")) {
    text = all_text();
  } else {
    for (const std::string_view key : status_keys) append_pair(text, key, value(key));
    append_pair(text, "STREAM.ADDRESS", stream_address());
  }
  append_pair(text, "API.STATUS", "SUCCESS");
  return text;
}

std::string_view unit::stream_address() const {
  const std::string_view known = value("STREAM.ADDRESS");
  return known.empty() && is_encoder(value("UNIT.MODEL")) ? value("STREAM.RTP_ADDRESS") : known;
}

std::string unit::all_text() const {
  // Reported directly after the setting that it is taken from.
  const bool adds_stream = value("STREAM.ADDRESS").empty();
  std::string text;
  for (const parameter& known : running_) {
    append_pair(text, known.key, known.value);
    if (adds_stream && known.key == "STREAM.RTP_ADDRESS") {
      append_pair(text, "STREAM.ADDRESS", stream_address());
    }
  }
  return text;
}

std::string unit::acknowledgement(std::string_view result) {
  std::string text;
  append_pair(text, "UNIT.ID", value("UNIT.ID"));
  append_pair(text, "UNIT.SERIAL", value("UNIT.SERIAL"));
  const bool turn_of_status = (index_ + acknowledgements_++) % 2 == 1;
  const bool in_status = behaviour_.spelling == ack_spelling::status ||
                         (behaviour_.spelling == ack_spelling::mixed && turn_of_status);
  append_pair(text, in_status ? "API.STATUS" : "API", result);
  return text;
}

}  // namespace fleet
