#include "discovery/reply_collection.hpp"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>

#include "base/clock.hpp"
#include "base/datagram.hpp"
#include "base/files.hpp"
#include "base/fixed_text.hpp"
#include "base/shell.hpp"
#include "base/trace.hpp"
#include "base/unit.hpp"
#include "discovery/collection_time.hpp"
#include "discovery/discovery_socket.hpp"
#include "discovery/discovery_state.hpp"
#include "discovery/node_files.hpp"

namespace {

constexpr std::size_t reply_size = 1500;
constexpr int most_misses_of_a_pass = 6;
constexpr int most_misses_of_a_unit = 5;

void log_exit(const collection_time& time, int misses, int count) {
  fixed_text<short_command_size> line;
  line.print("hsdr() Exiting start:%d now:%d loops:%d", time.start(), time.now(), misses);
  trace_append(unit::pass_log, short_command_size, line.view());
  line.print("hsdr() %d nodes", count);
  trace_append(unit::pass_log, short_command_size, line.view());
}

// Counts a datagram of the sender. False when it has sent as many as are taken of one unit.
bool is_taken(in_addr_t sender) {
  const auto place = std::ranges::find(node_addresses, sender) - node_addresses.begin();
  std::uint8_t& datagrams = node_datagrams[static_cast<std::size_t>(place)];
  if (datagrams >= most_datagrams_of_a_unit) return false;
  ++datagrams;
  return true;
}

// Records the sender of a datagram behind those that are there. Returns their number.
std::size_t record_sender(in_addr_t sender, std::size_t count) {
  if (count >= node_addresses.size()) return count;
  node_addresses[count] = sender;
  if (is_taken(sender)) return count + 1;
  node_addresses[count] = 0;
  return count;
}

}  // namespace

int hsdr() {
  node_addresses.fill(0);
  node_datagrams.fill(0);
  shell_run("rm /tmp/MCb.log > /dev/null 2>&1");
  const collection_time time;
  std::array<char, reply_size + 1> reply;
  std::size_t count = 0;
  int misses = 1;
  while (!time.over()) {
    ++misses;
    sockaddr_in sender{};
    if (receive_datagram(discovery_socket, reply, &sender) > 0) {
      count = record_sender(sender.sin_addr.s_addr, count);
      misses = 1;
      continue;
    }
    if (misses >= most_misses_of_a_pass && time.window_over()) break;
    pause_for(pause_after_silence);
  }
  node_datagrams.fill(0);
  log_exit(time, misses, static_cast<int>(count));
  return static_cast<int>(count);
}

int collect_node_reply(int number) {
  const unique_file file = open_for_writing(node_path(number).c_str(), write_mode::replace);
  // Unbuffered: what is counted is in the file.
  if (file) std::setvbuf(file.get(), nullptr, _IONBF, 0);
  std::array<char, reply_size + 1> reply;
  std::size_t total = 0;
  int misses = 1;
  auto silent_since = steady_time();
  for (;;) {
    sockaddr_in sender{};
    const int length = receive_datagram(discovery_socket, reply, &sender);
    const bool floods = length > 0 && !is_taken(sender.sin_addr.s_addr);
    if (length > 0 && !floods) {
      if (file) total += std::fwrite(reply.data(), 1, static_cast<std::size_t>(length), file.get());
      silent_since = steady_time();
      continue;
    }
    if (floods && steady_time() < silent_since + receive_timeout) continue;
    ++misses;
    if (total > 0 || misses > most_misses_of_a_unit) break;
    pause_for(pause_after_silence);
    silent_since = steady_time();
  }
  return static_cast<int>(total);
}
