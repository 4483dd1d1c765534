// How a unit misbehaves. Every fault is an option for the whole fleet (--delay-ms 50) and, for one unit, a
// column of the units file (SIM.DELAY_MS): both read the same table.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace fleet {

// What a request asks of a unit; `none` stands for no step at all.
enum class step : std::uint8_t { none, query, set, save, reboot };

// How an acknowledgement says yes: "API=SUCCESS", "API.STATUS=SUCCESS", or both in turn.
enum class ack_spelling : std::uint8_t { api, status, mixed };

// What is wrong with a hostile unit's texts; `all` gives each unit one of the others in turn.
enum class hostility : std::uint8_t { none, all, shell, length, pairs, joined, bytes };

struct faults {
  unsigned delay_ms = 0;        // before each answer
  unsigned jitter_ms = 0;       // 0 up to this many more, the same for one unit in each run of one seed
  unsigned late_ms = 0;         // before each acknowledgement, added to the delay
  unsigned gap_ms = 0;          // between two datagrams of one unit
  unsigned reboot_ms = 2000;    // silence after a reboot
  unsigned loss_percent = 0;    // of the datagrams
  unsigned duplicate = 1;       // how often each answer is sent
  unsigned split = 1400;        // bytes; a longer answer is cut after an "&"
  unsigned empty_at = 0;        // after this answer, counted from 1, an empty datagram; 0 never
  unsigned flood = 0;           // further datagrams after the answer to a query
  step silent_at = step::none;  // neither acts nor answers
  step refuse_at = step::none;  // does not act, answers API=FAIL
  ack_spelling spelling = ack_spelling::mixed;
  std::uint32_t answer_from = 0;  // address that acknowledgements come from; 0 the unit's own
  std::string acknowledge_with;   // datagrams, "|" between them, in the place of an acknowledgement
  hostility hostile = hostility::none;
};

struct fault_row {
  std::string_view name;      // as on the command line, without "--"
  std::string_view argument;  // in brackets when it may be left out
  std::string_view help;
  bool (*set)(faults& of_unit, std::string_view value);  // false for a value that it cannot take
};

[[nodiscard]] std::span<const fault_row> fault_table();

// Returns false when there is no fault of that name or it cannot take the value.
[[nodiscard]] bool set_fault(faults& of_unit, std::string_view name, std::string_view value);

// Returns false, leaving `number` alone, unless `text` is a whole decimal number from least to most.
[[nodiscard]] bool read_number(std::string_view text, unsigned least, unsigned most, unsigned& number);

}  // namespace fleet
