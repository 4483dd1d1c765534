// The command line: --name VALUE or --name=VALUE.
#pragma once

#include <span>
#include <string>

#include "faults.hpp"

namespace fleet {

// What the command line chose.
struct options {
  faults every_unit;             // of every unit; a column of the units file overrides them
  unsigned count = 0;            // number of units to make up
  unsigned first = 2;            // number of the first of them
  bool self = false;             // also simulate this unit itself
  unsigned number = 1;           // number of this unit itself
  bool print_self = false;       // print this unit's values and exit
  std::string kept_file;         // this unit's saved settings, read at start; empty: none
  std::string interface = "lo";  // where the units hear the group
  std::string units_file;        // empty: none
  std::string node_list_file;    // empty: none
  std::string log_file;          // empty: none
  bool log_answers = false;      // log answers too
  bool interleave = false;       // every unit's first datagram before any unit's second one
  bool burst = false;            // all answers to one request in the same instant
  unsigned pace_us = 0;          // wait between the answers of two units to one request
  unsigned seed = 1;             // for jitter and loss
  bool help = false;
};

// Sets `chosen` from the arguments after the program's name. Returns an empty text, or what is wrong with
// them.
[[nodiscard]] std::string read_options(std::span<const char* const> arguments, options& chosen);

// All options, one a line.
[[nodiscard]] std::string help_text();

}  // namespace fleet
