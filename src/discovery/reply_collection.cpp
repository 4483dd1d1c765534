#include "discovery/reply_collection.hpp"

#include <array>
#include <chrono>
#include <cstdio>

#include "base/clock.hpp"
#include "base/datagram.hpp"
#include "base/files.hpp"
#include "base/fixed_text.hpp"
#include "base/shell.hpp"
#include "base/trace.hpp"
#include "base/unit.hpp"
#include "discovery/collection_time.hpp"
#include "discovery/discovery_state.hpp"
#include "discovery/node_files.hpp"

namespace {

constexpr std::size_t reply_size = 1500;
constexpr int most_misses_of_a_pass = 6;
constexpr int most_misses_of_a_unit = 5;
constexpr std::chrono::seconds longest_flood{1};

void log_exit(const collection_time& time, int misses, int count) {
  fixed_text<short_command_size> line;
  line.print("hsdr() Exiting start:%d now:%d loops:%d", time.start(), time.now(), misses);
  trace_append(unit::pass_log, short_command_size, line.view());
  line.print("hsdr() %d nodes", count);
  trace_append(unit::pass_log, short_command_size, line.view());
}

}  // namespace

int hsdr() {
  node_addresses.fill(0);
  shell_run("rm /tmp/MCb.log > /dev/null 2>&1");
  const collection_time time;
  std::array<char, reply_size + 1> reply;
  std::size_t count = 0;
  int misses = 1;
  while (!time.over()) {
    ++misses;
    sockaddr_in sender{};
    if (receive_datagram(discovery_socket, reply, &sender) > 0) {
      if (count < node_addresses.size()) node_addresses[count++] = sender.sin_addr.s_addr;
      misses = 1;
      continue;
    }
    if (misses >= most_misses_of_a_pass && time.window_over()) break;
    pause_for(pause_after_silence);
  }
  log_exit(time, misses, static_cast<int>(count));
  return static_cast<int>(count);
}

int collect_node_reply(int number) {
  const unique_file file = open_for_writing(node_path(number).c_str(), write_mode::replace);
  // Unbuffered: what is counted is in the file.
  if (file) std::setvbuf(file.get(), nullptr, _IONBF, 0);
  std::array<char, reply_size + 1> reply;
  const collection_time time{longest_flood};
  std::size_t total = 0;
  int datagrams = 0;
  int misses = 1;
  // A flood is read on: the next unit's answer shall not stand behind what is left of it.
  while (datagrams < most_datagrams_of_a_unit || !time.over()) {
    const int length = receive_datagram(discovery_socket, reply);
    if (length > 0) {
      const bool counts = ++datagrams <= most_datagrams_of_a_unit;
      if (file && counts) total += std::fwrite(reply.data(), 1, static_cast<std::size_t>(length), file.get());
      continue;
    }
    ++misses;
    if (total > 0 || misses > most_misses_of_a_unit) break;
    pause_for(pause_after_silence);
  }
  return static_cast<int>(total);
}
