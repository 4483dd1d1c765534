// The texts of the device API, as a unit sees them.
//   request   CMD=START&UNIT.ID=<target>{&<key>=<value>}&CMD=END, one datagram, nothing before or after
//   answer    <key>=<value>{&<key>=<value>}, one or more datagrams, of which all but the last end in "&"
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "faults.hpp"

namespace fleet {

struct request_pair {
  std::string_view key, value;
};

// Views into the datagram's text, which must outlive it.
struct request {
  std::string_view target;  // ALL, NONE or a serial
  std::vector<request_pair> pairs;
};

// Returns nothing for a text that is not a whole request. Segments without a key or without "=" are left out.
[[nodiscard]] std::optional<request> read_request(std::string_view text);

// The step that a pair asks for: none for a query or command whose value is not TRUE and for a blank setting.
[[nodiscard]] step step_of(const request_pair& pair);

// True when the request asks for `wanted`. A request that asks for nothing counts as a set.
[[nodiscard]] bool asks_for(const request& asked, step wanted);

// Returns the datagrams of an answer, each at most `size` bytes and cut after an "&". A pair that is longer
// by itself stays whole. An empty answer has none.
[[nodiscard]] std::vector<std::string> split_answer(std::string_view text, std::size_t size);

// Returns the datagrams of a script: its texts between "|", empty ones too.
[[nodiscard]] std::vector<std::string> split_script(std::string_view script);

// Returns `bytes` with everything outside printable ASCII written as \xNN.
[[nodiscard]] std::string printable(std::string_view bytes);

}  // namespace fleet
