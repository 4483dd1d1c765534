#include "discovery/reply_collection.hpp"

#include <array>
#include <string_view>

#include "base/clock.hpp"
#include "base/element.hpp"
#include "base/files.hpp"
#include "base/shell.hpp"
#include "discovery/discovery_socket.hpp"
#include "discovery/discovery_state.hpp"
#include "discovery/logs.hpp"
#include "discovery/node_files.hpp"
#include "discovery/waiting.hpp"

namespace {

constexpr std::size_t reply_size = 1500;
using reply_buffer = std::array<char, reply_size + 1>;

void log_exit(const collection_time& time, int silences, int count) {
  // The counter in the log starts at 1: its readers know it that way.
  pass_log.line("hsdr() Exiting start:%d now:%d loops:%d", time.start(), time.now(), silences + 1);
  pass_log.line("hsdr() %d nodes", count);
}

}  // namespace

// A datagram resets the count of silences, so only five in a row end the pass.
int hsdr() {
  node_addresses.fill(0);
  shell_run("rm /tmp/MCb.log > /dev/null 2>&1");
  const collection_time time;
  sender_budget senders;
  reply_buffer reply;
  int count = 0;
  int silences = 0;
  while (!time.over()) {
    const arrival got = await_datagram(reply);
    if (got.is_datagram()) {
      const in_addr_t sender = got.sender.sin_addr.s_addr;
      if (count < most_units && senders.take(sender)) element(node_addresses, count++) = sender;
      silences = 0;
      continue;
    }
    if (++silences >= five_silences && time.window_over()) break;
    pause_for(pause_after_silence);
  }
  log_exit(time, silences, count);
  return count;
}

// The count of silences is never reset: a single one ends the round once there is data.
int collect_node_reply(int number) {
  direct_file file{node_path(number).c_str(), write_mode::replace};
  sender_budget senders;
  reply_buffer reply;
  std::size_t total = 0;
  int silences = 0;
  auto quiet_since = steady_time();
  for (;;) {
    const arrival got = await_datagram(reply);
    if (got.is_datagram() && senders.take(got.sender.sin_addr.s_addr)) {
      total += file.write({reply.data(), static_cast<std::size_t>(got.length)});
      quiet_since = steady_time();
      continue;
    }
    // Datagrams beyond the budget must not extend the round: after 100 ms of nothing else they count as a
    // silence.
    if (got.is_datagram() && steady_time() < quiet_since + receive_timeout) continue;
    if (++silences >= five_silences || total > 0) return static_cast<int>(total);
    pause_for(pause_after_silence);
    quiet_since = steady_time();
  }
}
