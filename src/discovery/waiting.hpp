// Waiting: what every loop that waits for datagrams is made of. They all have this shape:
//
//     for (;;) {
//       receive                         at most receive_timeout on the discovery socket
//       a datagram: use it, go on       a sender_budget says how many of one sender count
//       else a silence: count it        the loop's own rule says how many silences end it, and how they count
//       pause_for(pause_after_silence)
//     }                                 a collection_time bounds it
//
// A silence is a receive without a datagram: a time-out, an error, or an empty datagram.

#pragma once

#include <netinet/in.h>

#include <array>
#include <chrono>
#include <cstdint>
#include <ctime>
#include <span>

#include "base/clock.hpp"
#include "discovery/discovery_state.hpp"

inline constexpr std::chrono::milliseconds pause_after_silence{100};

// The number of silences that ends most loops; each says which of them count.
inline constexpr int five_silences = 5;

// What one receive came to.
struct arrival {
  int length = 0;  // in bytes; 0 for an empty datagram, -1 for a failure
  int error = 0;   // errno of a failure, else 0
  sockaddr_in sender{};

  [[nodiscard]] bool is_datagram() const { return length > 0; }
  [[nodiscard]] bool timed_out() const;
};

// Receives one datagram on discovery_socket into the buffer, as receive_datagram does.
[[nodiscard]] arrival await_datagram(std::span<char> buffer);

// The time that a collection of answers takes: it listens for a window of three seconds of the clock, counted
// in whole ones, and is over after a minute whatever still arrives.
class collection_time {
 public:
  // True once the clock shows more than three seconds after the start.
  [[nodiscard]] bool window_over() const { return wall_seconds() > start_ + window_seconds; }

  // True after a minute. Setting the clock does not move it.
  [[nodiscard]] bool over() const { return steady_time() >= end_; }

  // The clock at the start and at this moment, as logs show them.
  [[nodiscard]] int start() const { return static_cast<int>(start_); }
  [[nodiscard]] static int now() { return static_cast<int>(wall_seconds()); }

 private:
  static constexpr std::time_t window_seconds = 3;
  static constexpr std::chrono::seconds longest{60};

  std::time_t start_ = wall_seconds();
  std::chrono::milliseconds end_ = steady_time() + longest;
};

// The senders of a collection, each with a number from 0 in the order in which they were added, and with how many
// datagrams it may still send. What it sends beyond that is a flood: read and dropped.
class sender_budget {
 public:
  static constexpr int none = -1;

  [[nodiscard]] int size() const { return size_; }

  // The sender's number; none when it was not added.
  [[nodiscard]] int find(in_addr_t sender) const;

  // Adds a sender that was not found. Returns its number, or none when most_units are known.
  int add(in_addr_t sender);

  // Counts a datagram of the sender, which is added when needed. Returns whether it is within the budget; one of a
  // sender for which there is no place is not.
  [[nodiscard]] bool take(in_addr_t sender);

 private:
  static constexpr std::uint8_t most_datagrams = 255;
  static constexpr std::size_t places = 4096;  // a hash table, at most half full
  static_assert(most_units <= places / 2);

  [[nodiscard]] std::size_t place_of(in_addr_t sender) const;

  int size_ = 0;
  std::array<in_addr_t, most_units> senders_{};
  std::array<std::uint8_t, most_units> datagrams_{};
  std::array<std::uint16_t, places>
      found_{};  // 0, or one more than the number of the sender that is found there
};
