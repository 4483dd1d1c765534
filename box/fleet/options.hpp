// The command line: --name VALUE or --name=VALUE.
#pragma once

#include <span>
#include <string>

#include "faults.hpp"

namespace fleet {

struct options {
  faults every_unit;           // what units start from; a column of the units file overrides it
  unsigned count = 0;          // units to make up
  bool self = false;           // add this unit itself
  std::string units_file;      // empty: none
  std::string node_list_file;  // empty: none
  std::string log_file;        // empty: none
  bool log_answers = false;    // answers too
  bool interleave = false;     // every unit's first datagram before any unit's second one
  bool burst = false;          // all answers to one request in the same instant
  unsigned pace_us = 0;        // between the answers of two units to one request
  unsigned seed = 1;           // of jitter and loss
  bool help = false;
};

// Fills `chosen` from the arguments after the program's name. Returns an empty text, or what is wrong with
// them.
[[nodiscard]] std::string read_options(std::span<const char* const> arguments, options& chosen);

// All options, one a line.
[[nodiscard]] std::string help_text();

}  // namespace fleet
