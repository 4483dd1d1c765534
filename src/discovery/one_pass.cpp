#include "discovery/one_pass.hpp"

#include <arpa/inet.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <span>
#include <string_view>

#include "base/clock.hpp"
#include "base/datagram.hpp"
#include "base/fixed_text.hpp"
#include "base/shell.hpp"
#include "base/text.hpp"
#include "base/trace.hpp"
#include "discovery/collection_time.hpp"
#include "discovery/csv_compilation.hpp"
#include "discovery/discovery_state.hpp"
#include "discovery/node_files.hpp"
#include "discovery/node_search.hpp"

namespace {

constexpr std::size_t datagram_size = 2048;
constexpr int most_misses = 5;

struct collection {
  std::array<in_addr_t, most_units> senders{};
  std::array<std::uint8_t, most_units> datagrams{};  // how many each sender sent, up to the most that count
  node_search search;
  trace_log log{"/tmp/mcD.log", command_size};
};

fixed_text<INET_ADDRSTRLEN> dotted(in_addr address) {
  fixed_text<INET_ADDRSTRLEN> text;
  inet_ntop(AF_INET, &address, text.buffer().data(), INET_ADDRSTRLEN);
  return text;
}

// The sender's place in the table: device_count for one that is not known yet.
std::size_t find_sender(const collection& run, in_addr_t sender) {
  const std::span known{run.senders.data(), static_cast<std::size_t>(device_count)};
  return static_cast<std::size_t>(std::ranges::find(known, sender) - known.begin());
}

// The number of the node file that holds the sender's answer; -1 when there is none, and its datagram is
// dropped.
int find_node(collection& run, std::string_view sender) {
  run.log.append("DEBUG MC B");
  const search_line found = run.search.find(sender);
  run.log.append("DEBUG MC C");
  fixed_text<command_size> line;
  line.print("%s %d", found.c_str(), static_cast<int>(found.view().size()));
  run.log.append(line.view());

  const std::size_t underscore = found.view().find('_');
  if (underscore == std::string_view::npos || underscore == 0) {
    run.log.append("DEBUG MC Zd");
    return -1;
  }
  run.log.append("DEBUG MC D");
  // In front of a lone node file's line stands no file name: the number is then read from the answer itself,
  // and no digit reads as 0, which is that file.
  const int number = leading_number(found.view().substr(underscore + 1));
  if (number < 0 || number >= device_count) {
    run.log.append("DEBUG MC Zc");
    return -1;
  }
  run.log.append("DEBUG MC E");
  line.print("Append to /tmp/node_%d of %d", number, device_count - 1);
  run.log.append(line.view());
  return number;
}

void store_datagram(collection& run, in_addr sender, std::string_view text) {
  const std::size_t place = find_sender(run, sender.s_addr);
  if (place >= run.senders.size() || run.datagrams[place] >= most_datagrams_of_a_unit) return;
  const bool known = place < static_cast<std::size_t>(device_count);
  run.datagrams[place] = static_cast<std::uint8_t>(known ? run.datagrams[place] + 1 : 1);
  run.senders[place] = sender.s_addr;
  const auto address = dotted(sender);
  fixed_text<command_size> line;
  line.print("IP=%s", address.c_str());
  run.log.append(line.view());
  run.log.append(known ? "DEBUG MC A" : "DEBUG MC NORMAL");

  const int number = known ? find_node(run, address.view()) : device_count;
  if (number < 0) return;
  const int written = append_to_node_file(number, text);
  if (written < 0) return;
  run.search.add(number, text.substr(0, static_cast<std::size_t>(written)));
  if (!known) ++device_count;
}

void log_exit(const collection_time& time, int misses) {
  fixed_text<short_command_size> line;
  line.print("hsdr() Exiting start:%d now:%d loops:%d", time.start(), time.now(), misses);
  trace_replace("/tmp/MCa.log", short_command_size, line.view());
}

// Returns the last receive's result.
int collect_answers() {
  device_count = 0;
  collection run;
  shell_run("rm /tmp/mcD.log > /dev/null");
  const collection_time time;
  std::array<char, datagram_size + 1> datagram;
  int misses = 0;
  for (;;) {
    sockaddr_in sender{};
    const int length = receive_datagram(discovery_socket, datagram, &sender);
    const bool timed_out = length == -1 && errno == EAGAIN;
    if (length > 0) {
      store_datagram(run, sender.sin_addr, datagram.data());
      if (!time.over()) continue;
    } else if (++misses <= most_misses || (!time.window_over() && !time.over())) {
      pause_for(pause_after_silence);
      if (timed_out) continue;
      return length;
    }
    log_exit(time, misses);
    return length;
  }
}

}  // namespace

int discover_one_pass() {
  const int last = collect_answers();
  if (device_count < 1) return last;
  compile_node_files();
  delete_node_files();
  return last;
}
