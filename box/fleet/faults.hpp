// How a unit misbehaves. Every fault is an option for the whole fleet (--delay-ms 50) and a column of the
// units file for one unit (SIM.DELAY_MS). Both use the same table.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace fleet {

// What a request asks a unit to do; `none` for nothing.
enum class step : std::uint8_t { none, query, set, save, reboot };

// How an acknowledgement reports success: "API=SUCCESS", "API.STATUS=SUCCESS", or both in turn.
enum class ack_spelling : std::uint8_t { api, status, mixed };

// What is wrong with a hostile unit's texts. `all` gives each unit one of the others in turn.
enum class hostility : std::uint8_t { none, all, shell, length, pairs, joined, bytes };

// The faults of one unit, at first those of a well-behaved one.
struct faults {
  unsigned delay_ms = 0;        // wait before each answer
  unsigned jitter_ms = 0;       // 0 up to this much more; for a unit the same in each run of one seed
  unsigned late_ms = 0;         // wait before each acknowledgement, in addition
  unsigned gap_ms = 0;          // wait between two datagrams of one unit
  unsigned reboot_ms = 2000;    // silence after a reboot
  unsigned loss_percent = 0;    // of the datagrams
  unsigned duplicate = 1;       // number of times that each answer is sent
  unsigned split = 1400;        // bytes; a longer answer is cut after an "&"
  unsigned empty_at = 0;        // an empty datagram after this answer, counted from 1; 0 for never
  unsigned flood = 0;           // number of extra datagrams after the answer to a query
  step silent_at = step::none;  // neither acts nor answers
  step refuse_at = step::none;  // does not act, answers API=FAIL
  ack_spelling spelling = ack_spelling::mixed;
  std::uint32_t answer_from = 0;  // source address of acknowledgements; 0 for the unit's own
  std::string acknowledge_with;   // datagrams sent instead of an acknowledgement, separated by "|"
  hostility hostile = hostility::none;
};

// A fault: its option, its help text and its setter.
struct fault_row {
  std::string_view name;      // the option, without "--"
  std::string_view argument;  // in brackets when it is optional
  std::string_view help;
  bool (*set)(faults& of_unit, std::string_view value);  // false for a value that does not fit
};

// All faults, in the order of the help text.
[[nodiscard]] std::span<const fault_row> fault_table();

// Sets a fault. Returns false when there is no such fault or the value does not fit.
[[nodiscard]] bool set_fault(faults& of_unit, std::string_view name, std::string_view value);

// Parses a decimal number. Returns false and leaves `number` unchanged unless all of `text` is a number from
// least to most.
[[nodiscard]] bool read_number(std::string_view text, unsigned least, unsigned most, unsigned& number);

}  // namespace fleet
