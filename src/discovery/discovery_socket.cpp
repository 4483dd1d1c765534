#include "discovery/discovery_socket.hpp"

#include <cerrno>
#include <chrono>
#include <string_view>

#include "base/datagram.hpp"
#include "base/fixed_text.hpp"
#include "base/handles.hpp"
#include "base/shell.hpp"
#include "base/text.hpp"
#include "base/trace.hpp"
#include "base/unit.hpp"
#include "discovery/api_message.hpp"
#include "discovery/discovery_state.hpp"
#include "discovery/logs.hpp"

namespace {

constexpr trace_log ttl_log{"/tmp/MCt.log", short_command_size};
constexpr int default_ttl = 64;
constexpr int longest_ttl = 255;

// Room for 2,047 units that answer at once with two datagrams each. The kernel charges 2,304 bytes of buffer
// for a datagram of 700 to 1,500 bytes.
constexpr int receive_buffer_size = most_units * 2 * 2304;

// The number that a qelparam command prints. 0, which is no valid setting, when it prints none.
int read_setting(const char* command) {
  fixed_text<32> line;
  if (shell_first_line(command, line) != first_line::read) return 0;
  return leading_digits(line.view());
}

std::uint8_t read_ttl() {
  const int setting = read_setting("qelparam g UNIT.MCD_TTL");
  return static_cast<std::uint8_t>(setting >= 1 && setting <= longest_ttl ? setting : default_ttl);
}

void set_up_ttl() {
  const std::uint8_t ttl = read_ttl();
  ttl_log.replace("Using TTL %d", ttl);
  set_multicast_ttl(discovery_socket, ttl);
}

void read_mode() {
  const int setting = read_setting("qelparam g UNIT.MCD_MODE");
  if (setting == 1 || setting == 2) mcd_mode = setting;
  mode_log.replace("Using Mode %d", mcd_mode);
}

}  // namespace

int open_discovery_socket() {
  discovery_socket = open_datagram_socket();
  if (discovery_socket <= 0) return 0;
  const int bound = bind_any_port(discovery_socket);
  set_receive_timeout(discovery_socket, receive_timeout);
  set_blocking(discovery_socket);
  set_receive_buffer(discovery_socket, receive_buffer_size);
  set_up_ttl();
  return bound < 0 ? bound : discovery_socket;
}

int send_discovery_query() {
  read_mode();
  const sockaddr_in group = datagram_address(unit::discovery_group, unit::api_port);
  static_cast<void>(send_datagram(discovery_socket, query_none, group));
  return send_datagram(discovery_socket, mcd_mode == 2 ? query_status : query_all, group);
}

int suq(in_addr_t address) {
  // datagram_address takes the dotted form; the recorded address is already a number.
  sockaddr_in unit_address = datagram_address("0.0.0.0", unit::api_port);
  unit_address.sin_addr.s_addr = address;
  const int sent = send_datagram(discovery_socket, query_all, unit_address);
  if (sent < 0) pass_log.line("  suq() SEND FAILED: errno is %d", errno);
  return sent;
}

int close_discovery_socket() {
  const int closed = discovery_socket;
  if (discovery_socket >= 1) {
    close_datagram_socket(discovery_socket);
    discovery_socket = -1;
  }
  return closed;
}
