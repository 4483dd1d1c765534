#include "discovery/one_pass.hpp"

#include <arpa/inet.h>

#include <array>
#include <string_view>

#include "base/clock.hpp"
#include "base/fixed_text.hpp"
#include "base/shell.hpp"
#include "base/text.hpp"
#include "base/trace.hpp"
#include "discovery/csv_compilation.hpp"
#include "discovery/device_records.hpp"
#include "discovery/discovery_state.hpp"
#include "discovery/node_files.hpp"
#include "discovery/node_search.hpp"
#include "discovery/waiting.hpp"

namespace {

constexpr std::size_t datagram_size = 2048;

constexpr trace_log exit_log{"/tmp/MCa.log", short_command_size};

// The answers so far. One number is a sender's slot everywhere:
//
//     senders      0  10.77.0.5       1  10.77.0.9      in the order of their first datagrams
//     node files   /tmp/node_0        /tmp/node_1       started by that datagram
//     records      row 0              row 1             of kvp_table, through `answers`
//
// Only a sender's first datagram is sure to reach its own slot. Later ones go where the search finds the
// address.
struct collection {
  sender_budget senders;
  node_search search;
  arriving_answers answers{key_header_table, kvp_table};
  open_trace_log log{"/tmp/mcD.log", command_size};
};

// The address in dotted form.
fixed_text<INET_ADDRSTRLEN> dotted(in_addr address) {
  fixed_text<INET_ADDRSTRLEN> text;
  inet_ntop(AF_INET, &address, text.buffer().data(), INET_ADDRSTRLEN);
  return text;
}

// The number of the node file that contains the sender's answer, or -1 when there is none and its datagram
// must be dropped. The lines name the branches taken; they and their order are what the log's readers know.
int find_node(collection& run, std::string_view sender) {
  run.log.line("DEBUG MC B");
  const search_line found = run.search.find(sender);
  run.log.line("DEBUG MC C");
  run.log.line("%s %d", found.c_str(), static_cast<int>(found.view().size()));

  const std::size_t underscore = found.view().find('_');
  if (underscore == std::string_view::npos || underscore == 0) {
    run.log.line("DEBUG MC Zd");
    return -1;
  }
  run.log.line("DEBUG MC D");
  // The line of a lone node file has no file name in front. Then the first "_" is one of the answer itself.
  // Without a digit after it the number reads as 0, which is that file; a digit there may send the datagram
  // to no file.
  const int number = leading_digits(found.view().substr(underscore + 1));
  if (number >= run.senders.size()) {
    run.log.line("DEBUG MC Zc");
    return -1;
  }
  run.log.line("DEBUG MC E");
  run.log.line("Append to /tmp/node_%d of %d", number, run.senders.size() - 1);
  return number;
}

// What became of a text for a node file: whether the file opened, and the part of the text that is in it.
struct stored_text {
  bool opened;
  std::string_view text;
};

// Appends the text to a node file and to the search.
stored_text store_text(collection& run, int number, std::string_view text) {
  const int written = append_to_node_file(number, text);
  if (written < 0) return {false, {}};
  text = text.substr(0, static_cast<std::size_t>(written));
  run.search.add(number, text);
  return {true, text};
}

// Starts a node file. When it cannot be opened the sender stays unknown, and the next new sender gets its
// number.
void store_new_sender(collection& run, in_addr_t sender, std::string_view text) {
  const int number = run.senders.size();
  const bool left = run.search.was_left(number);
  const stored_text stored = store_text(run, number, text);
  if (!stored.opened || !run.senders.take(sender)) return;
  run.answers.add_unit();
  node_text whole;
  // An interrupted run may have left a file of this number; its text is in front of the new datagram.
  run.answers.add(number, left ? read_node_file(number, whole) : stored.text);
}

// Takes one datagram, or drops it beyond the limits on senders and on datagrams of one sender.
void store_datagram(collection& run, in_addr sender, std::string_view text) {
  const bool known = run.senders.find(sender.s_addr) != sender_budget::none;
  if (known ? !run.senders.take(sender.s_addr) : run.senders.size() == most_units) return;
  const auto address = dotted(sender);
  run.log.line("IP=%s", address.c_str());
  run.log.line(known ? "DEBUG MC A" : "DEBUG MC NORMAL");
  if (!known) {
    store_new_sender(run, sender.s_addr, text);
    return;
  }
  const int number = find_node(run, address.view());
  if (number >= 0) run.answers.add(number, store_text(run, number, text).text);
}

void log_pass_end(const collection_time& time, int silences) {
  exit_log.replace("hsdr() Exiting start:%d now:%d loops:%d", time.start(), time.now(), silences);
}

// Collects until more than five receives in all have failed and the window is over. An empty datagram or an
// error before that ends it without a line in the log. Returns the result of the last receive.
int collect_answers(collection& run) {
  shell_run("rm /tmp/mcD.log > /dev/null");
  const collection_time time;
  std::array<char, datagram_size + 1> datagram;
  int silences = 0;
  for (;;) {
    const arrival got = await_datagram(datagram);
    if (got.is_datagram()) {
      store_datagram(run, got.sender.sin_addr, datagram.data());
      // A flood without any silence ends here after the minute.
      if (!time.over()) continue;
    } else if (++silences <= five_silences || (!time.window_over() && !time.over())) {
      pause_for(pause_after_silence);
      if (got.timed_out()) continue;
      return got.length;
    }
    log_pass_end(time, silences);
    return got.length;
  }
}

}  // namespace

int discover_one_pass() {
  device_count = 0;
  kvp_table.start(key_header_table.size());
  int last = 0;
  {
    collection run;
    last = collect_answers(run);
    device_count = run.senders.size();
  }
  if (device_count > 0) {
    compile_records();
    delete_node_files();
  }
  kvp_free();
  return last;
}
