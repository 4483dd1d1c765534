#include "massupdate/device_update.hpp"

#include <arpa/inet.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <string_view>

#include "base/datagram.hpp"
#include "base/element.hpp"
#include "base/text.hpp"
#include "base/unit.hpp"
#include "cgi/state.hpp"
#include "discovery/api_message.hpp"
#include "discovery/discovery_socket.hpp"
#include "discovery/discovery_state.hpp"
#include "discovery/key_catalogue.hpp"
#include "discovery/waiting.hpp"
#include "massupdate/checks.hpp"
#include "massupdate/import_records.hpp"
#include "massupdate/rename_table.hpp"
#include "massupdate/site_log.hpp"

namespace {

constexpr std::chrono::seconds reply_timeout{5};
constexpr std::size_t datagram_size = 1500;
constexpr int complete = 3;

constexpr std::string_view save_command = "CMD=START&UNIT.ID=ALL&SAVE=TRUE&CMD=END";
constexpr std::string_view reboot_command = "CMD=START&UNIT.ID=ALL&REBOOT=TRUE&CMD=END";

// The result of a send or a receive on the discovery socket.
struct exchange_step {
  int result = 0;
  int error = 0;  // errno, 0 without a failure
  [[nodiscard]] bool failed() const { return result <= 0; }
};

// A reply, its sender and its text, which is always terminated.
struct unit_reply {
  exchange_step step;
  sockaddr_in sender{};
  std::array<char, datagram_size + 1> text{};
};

// Receives the next reply, whoever sends it. Returns false after a time-out, an error or an empty datagram.
bool receive_reply(unit_reply& reply) {
  const arrival got = await_datagram(reply.text);
  reply.step = {got.length, got.error};
  reply.sender = got.sender;
  return got.is_datagram();
}

exchange_step send_to(const sockaddr_in& address, std::string_view text) {
  errno = 0;
  const int result = send_datagram(discovery_socket, text, address);
  return {result, errno};
}

void log_step(const char* step) {
  log_site_message("Inside handle_device_update_reply() %s", step);
}

void log_failure(const char* what, const exchange_step& step) {
  log_site_message("Inside handle_device_update_reply() %s %d/0x%02x", what, step.result,
                   static_cast<unsigned>(step.error));
}

void log_reply(const char* which, const unit_reply& reply) {
  log_site_message("Inside handle_device_update_reply() %s: %s", which, reply.text.data());
}

// The unit of a record, as the log shows it.
struct record_unit {
  fixed_text<64> model;
  fixed_text<64> address;
  fixed_text<64> serial;
  fixed_text<64> id;
  std::uint32_t number = 0;  // the address in host byte order; 0 for an unreadable one
};

std::uint32_t address_number(const fixed_text<64>& address) {
  return ntohl(datagram_address(address.c_str(), 0).sin_addr.s_addr);
}

// Reads the record's own identity. Id and number come from the valid device table when that has the unit.
record_unit find_unit(int row) {
  record_unit unit;
  get_row_value(row, "UNIT.MODEL", unit.model);
  get_row_value(row, "IP.ADDRESS", unit.address);
  get_row_value(row, "UNIT.SERIAL", unit.serial);
  const int found = check_device_valid(unit.serial.view());
  if (found >= 0) {
    const vdt_record& known = element(vdt, found);
    unit.id = known.unit_id;
    unit.number = address_number(known.address);
  } else {
    get_row_value(row, "UNIT.ID", unit.id);
    unit.number = address_number(unit.address);
  }
  return unit;
}

void log_unit(const record_unit& unit) {
  site_log.line("    IP... %s 0x%08x", unit.address.c_str(), unit.number);
  site_log.line("    NOTES... %s %s %s 0x%08x %s", unit.id.c_str(), unit.model.c_str(), unit.address.c_str(),
                unit.number, unit.serial.c_str());
}

// True when the unit's model takes a setting of these classes. Quirk: a second-generation unit takes what is
// KEY_CLASS_EXTENDED; KEY_CLASS_SECOND_GEN plays no part.
bool model_takes(unsigned record_flags, unsigned class_set) {
  const bool extended = (class_set & KEY_CLASS_EXTENDED) != 0;
  if (extended) return (record_flags & (wallplate_record | second_gen_record)) != 0;
  return ((record_flags & decoder_record) != 0 && (class_set & KEY_CLASS_ENCODER) == 0) ||
         ((record_flags & encoder_record) != 0 && (class_set & KEY_CLASS_DECODER) == 0);
}

// The key under which the message sends the setting. Empty when the unit's model does not take it.
std::string_view sent_key(std::string_view key, unsigned classes, unsigned record_flags) {
  const auto renamed = std::ranges::find_if(
      rename_table, [key](const rename_row& row) { return equal_no_case(key, row.record_key); });
  if (renamed != rename_table.end()) return renamed->sent_as;
  return model_takes(record_flags, classes) ? key : std::string_view{};
}

// Adds the record's settings in the order of its columns. Returns how many values are settings, also counting
// those that the model does not take. Quirk: only as many columns count as the unit has keys itself.
int add_settings(api_request& request, const column_list& columns, const record_table& records, int row) {
  const int bound = std::min(key_header_count(), columns.size());
  int settings = 0;
  for (int column = 0; column < bound; ++column) {
    const unsigned classes = columns.classes(column);
    const std::string_view value = records.value(row, column);
    if ((classes & (KEY_CLASS_EXCLUDED | KEY_CLASS_STATUS)) != 0 || value.empty()) continue;
    ++settings;
    const std::string_view key = sent_key(columns.key(column), classes, records.flags(row));
    if (!key.empty()) request.add(key, value);
  }
  return settings;
}

void log_request(const api_request& request) {
  const int length = count_of(request.text());
  site_request_log.line("%.*s {%d}", length, request.text().data(), length);
}

// Sends the request and waits for the replies. Returns as handle_device_update_reply does.
int exchange(const api_request& request) {
  log_request(request);
  const discovery_session session;
  static_cast<void>(send_to(datagram_address(unit::discovery_group, unit::api_port), request.text()));
  return handle_device_update_reply();
}

// A message that is cut off would set a wrong value, so it is not sent.
int refuse_long_request() {
  site_log.line("    Message is longer than 2047 characters, not sent ");
  return 0;
}

}  // namespace

int send_device_update(int row) {
  site_log.line("   Starting send_device_update()...%d ", current_record);
  const record_unit unit = find_unit(row);
  log_unit(unit);
  api_request request{unit.serial.view()};
  const int settings = add_settings(request, import_header_table, kvp_table, row);
  const int reached = request.finish() ? exchange(request) : refuse_long_request();
  std::fprintf(cgiOut, "Update Device #%d @ %s Result is %s\n", row, unit.address.c_str(),
               reached == complete ? "OK" : "FAIL");
  std::fflush(cgiOut);
  return settings;
}

int handle_device_update_reply() {
  set_receive_timeout(discovery_socket, reply_timeout);
  log_step("0");
  unit_reply reply;
  if (!receive_reply(reply)) {
    log_failure("No UPDATE Reply", reply.step);
    return 0;
  }
  log_reply("Got Reply A", reply);
  if (!is_success_reply(reply.text.data())) {
    log_failure("UPDATE Reply FAILED ", reply.step);
    return 1;
  }
  if (const exchange_step sent = send_to(reply.sender, save_command); sent.failed()) {
    log_failure("SAVE Send FAILED ", sent);
    return 1;
  }
  log_step("Sent SAVE");
  if (!receive_reply(reply)) return 1;
  log_reply("Got Reply B", reply);
  if (!is_success_reply(reply.text.data())) {
    log_failure("SAVE Reply FAILED ", reply.step);
    return 2;
  }
  if (send_to(reply.sender, reboot_command).failed()) return 2;
  log_step("Sent REBOOT");
  if (!receive_reply(reply)) return 2;
  log_step("Got Reply C");
  return complete;
}
