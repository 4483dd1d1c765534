// The texts of the device API, from the unit's side.
//   request   CMD=START&UNIT.ID=<target>{&<key>=<value>}&CMD=END, one datagram, nothing before or after
//   answer    <key>=<value>{&<key>=<value>} in one or more datagrams, of which all but the last end in "&"
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "faults.hpp"

namespace fleet {

// One <key>=<value> of a request.
struct request_pair {
  std::string_view key, value;
};

// A parsed request. Its views point into the datagram's text, which must stay valid.
struct request {
  std::string_view target;  // ALL, NONE or a serial
  std::vector<request_pair> pairs;
};

// Parses a request. Returns nothing for a text that is not a complete one. Skips segments without a key or
// "=".
[[nodiscard]] std::optional<request> read_request(std::string_view text);

// The step that a pair asks for. None for a query or command whose value is not TRUE, and for an empty
// setting.
[[nodiscard]] step step_of(const request_pair& pair);

// True when the request asks for this step. A request that asks for nothing counts as a set.
[[nodiscard]] bool asks_for(const request& asked, step wanted);

// Returns the datagrams of an answer, each of at most `size` bytes, cut after an "&". A longer pair stays in
// one piece. An empty answer has none.
[[nodiscard]] std::vector<std::string> split_answer(std::string_view text, std::size_t size);

// Returns the datagrams of a script: its texts between "|", also empty ones.
[[nodiscard]] std::vector<std::string> split_script(std::string_view script);

// Returns the bytes with everything but printable ASCII written as \xNN.
[[nodiscard]] std::string printable(std::string_view bytes);

}  // namespace fleet
