// Waiting: the parts of every loop that waits for datagrams. Such a loop has this form:
//
//     for (;;) {
//       receive                         at most receive_timeout, on the discovery socket
//       a datagram: use it, continue    a sender_budget limits the datagrams of each sender
//       else a silence: count it        the loop's own rule decides whether it is the last one
//       pause_for(pause_after_silence)
//     }                                 a collection_time limits the whole, except in collect_node_reply
//
// A silence is a receive without a datagram: a time-out, an error or an empty datagram. The loops differ in
// how they count silences:
//
//     loop                 a datagram resets   the last silence is
//     hsdr                 yes                 the fifth or later, once the window of 3 s is over
//     collect_node_reply   no                  the first after data, else the fifth
//     discover_one_pass    no                  the sixth or later, once the window is over
//     list_devices         no                  the first after a listed unit, else the fifth
//
// An error or an empty datagram ends the last two at once.

#pragma once

#include <netinet/in.h>

#include <array>
#include <chrono>
#include <cstdint>
#include <ctime>
#include <span>

#include "base/clock.hpp"
#include "discovery/discovery_state.hpp"

// The pause between a silence and the next receive.
inline constexpr std::chrono::milliseconds pause_after_silence{100};

// The number of silences in these rules.
inline constexpr int five_silences = 5;

// The result of one receive.
struct arrival {
  int length = 0;  // bytes; 0 for an empty datagram, -1 for an error
  int error = 0;   // errno after an error, else 0
  sockaddr_in sender{};

  [[nodiscard]] bool is_datagram() const { return length > 0; }
  // True when nothing arrived in time, as opposed to an error.
  [[nodiscard]] bool timed_out() const;
};

// Receives one datagram on discovery_socket into the buffer, with receive_datagram.
[[nodiscard]] arrival await_datagram(std::span<char> buffer);

// The time limits of a collection, counted from the object's creation: a window of three seconds of the
// unit's clock, in whole seconds, and an end after a minute, however much still arrives.
class collection_time {
 public:
  // True once the clock shows more than three seconds after the start: after 3 to 4 s, as it counts whole
  // ones.
  [[nodiscard]] bool window_over() const { return wall_seconds() > start_ + window_seconds; }

  // True after a minute. Setting the clock does not change it.
  [[nodiscard]] bool over() const { return steady_time() >= end_; }

  // The clock at the start and now, as the logs show them.
  [[nodiscard]] int start() const { return static_cast<int>(start_); }
  [[nodiscard]] static int now() { return static_cast<int>(wall_seconds()); }

 private:
  static constexpr std::time_t window_seconds = 3;
  static constexpr std::chrono::seconds longest{60};

  std::time_t start_ = wall_seconds();
  std::chrono::milliseconds end_ = steady_time() + longest;
};

// The senders of a collection. Each has a number, from 0 in the order of add, and a budget of 255 datagrams.
// What it sends beyond that is a flood: read and dropped.
class sender_budget {
 public:
  static constexpr int none = -1;

  // The number of senders.
  [[nodiscard]] int size() const { return size_; }

  // The sender's number, or none when it was not added.
  [[nodiscard]] int find(in_addr_t sender) const;

  // Adds a sender that find does not know. Returns its number, or none when there are most_units already.
  int add(in_addr_t sender);

  // Counts a datagram of the sender, adding it when it is new. Returns false when the datagram exceeds the
  // budget, or the sender does not fit any more.
  [[nodiscard]] bool take(in_addr_t sender);

 private:
  static constexpr std::uint8_t most_datagrams = 255;
  static constexpr std::size_t places = 4096;  // the size of the hash table, at most half full
  static_assert(most_units <= places / 2);

  [[nodiscard]] std::size_t place_of(in_addr_t sender) const;

  int size_ = 0;
  std::array<in_addr_t, most_units> senders_{};
  std::array<std::uint8_t, most_units> datagrams_{};
  std::array<std::uint16_t, places> found_{};  // sender number + 1; 0 for a free place
};
