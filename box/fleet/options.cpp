#include "options.hpp"

#include <algorithm>
#include <array>
#include <cstddef>
#include <string_view>

#include "made_up_units.hpp"

namespace fleet {

namespace {

// An option of the whole fleet.
struct option_row {
  std::string_view name, argument, help;
  bool (*set)(options& chosen, std::string_view value);
};

template <unsigned options::*Member, unsigned Most>
bool whole_number(options& chosen, std::string_view value) {
  return read_number(value, 0, Most, chosen.*Member);
}

template <bool options::*Member>
bool flag(options& chosen, std::string_view) {
  return chosen.*Member = true;
}

template <std::string options::*Member>
bool path(options& chosen, std::string_view value) {
  chosen.*Member = value;
  return !value.empty();
}

constexpr auto option_rows = std::to_array<option_row>({
    {"units", "FILE", "units of a discovery export: one row a unit, one column a key",
     path<&options::units_file>},
    {"count", "N", "N made-up units, besides those of a file",
     whole_number<&options::count, most_made_up_units>},
    {"first", "N", "number of the first made-up unit (2)", whole_number<&options::first, most_made_up_units>},
    {"self", "", "this unit itself too, at its own address and 127.0.0.1", flag<&options::self>},
    {"number", "N", "number of this unit itself (1)", whole_number<&options::number, most_made_up_units>},
    {"kept", "FILE",
     "this unit's settings: read at start, written at each save; a reboot ends the fleet, status 3",
     path<&options::kept_file>},
    {"print-self", "", "print this unit's values, KEY=VALUE a line, and end", flag<&options::print_self>},
    {"interface", "NAME", "where the units hear the group (lo)", path<&options::interface>},
    {"node-list", "FILE", "write \"ADDRESS ID MODEL\" of each unit at start", path<&options::node_list_file>},
    {"log", "FILE", "a line for each request: the address it was sent to, its text",
     path<&options::log_file>},
    {"log-answers", "", "a line for each datagram sent, too: \">\", the address it comes from, its text",
     flag<&options::log_answers>},
    {"interleave", "", "every unit's first datagram before any unit's second one",
     flag<&options::interleave>},
    {"pace-us", "US", "wait between the answers of two units to one request (0)",
     whole_number<&options::pace_us, 60'000'000>},
    {"burst", "", "all answers to one request in the same instant: no pace, no jitter",
     flag<&options::burst>},
    {"seed", "N", "of jitter and loss (1)", whole_number<&options::seed, 4'000'000'000>},
    {"help", "", "this help", flag<&options::help>},
});

// A row of either table; one of the two pointers is set for a known option.
struct known_option {
  std::string_view argument;
  const option_row* option;
  const fault_row* fault;
};

known_option find_option(std::string_view name) {
  const auto option = std::ranges::find(option_rows, name, &option_row::name);
  if (option != option_rows.end()) return {option->argument, &*option, nullptr};
  const auto faults = fault_table();
  const auto fault = std::ranges::find(faults, name, &fault_row::name);
  if (fault != faults.end()) return {fault->argument, nullptr, &*fault};
  return {{}, nullptr, nullptr};
}

bool set_option(const known_option& known, options& chosen, std::string_view value) {
  return known.fault == nullptr ? known.option->set(chosen, value)
                                : known.fault->set(chosen.every_unit, value);
}

void append_help(std::string& lines, std::string_view name, std::string_view argument,
                 std::string_view help) {
  std::string line = "  --" + std::string{name};
  if (!argument.empty() && !argument.starts_with('[')) line += ' ';
  line += argument;
  line.resize(std::max<std::size_t>(line.size() + 2, 26), ' ');
  lines.append(line).append(help).append("\n");
}

}  // namespace

std::string read_options(std::span<const char* const> arguments, options& chosen) {
  for (std::size_t place = 0; place < arguments.size(); ++place) {
    const std::string_view argument = arguments[place];
    const std::size_t equals = std::min(argument.find('='), argument.size());
    const known_option known =
        argument.starts_with("--") ? find_option(argument.substr(2, equals - 2)) : known_option{};
    if (known.option == nullptr && known.fault == nullptr) return "unknown option " + std::string{argument};
    const bool inside = equals < argument.size();
    const bool wants_value = !known.argument.empty() && !known.argument.starts_with('[');
    if (wants_value && !inside && place + 1 == arguments.size()) {
      return std::string{argument} + " wants a value";
    }
    std::string_view value;
    if (inside) value = argument.substr(equals + 1);
    if (!inside && wants_value) value = arguments[++place];
    const bool fits = (!inside || !known.argument.empty()) && set_option(known, chosen, value);
    if (!fits) return std::string{argument.substr(0, equals)} + " cannot be \"" + std::string{value} + "\"";
  }
  return {};
}

std::string help_text() {
  std::string lines =
      "fleet [OPTIONS]   simulated units on UDP port 8000, in the box or on a booted machine\n\nThe fleet:\n";
  for (const option_row& row : option_rows) append_help(lines, row.name, row.argument, row.help);
  lines += "\nFaults of every unit, for one unit as a column SIM.NAME of the units file (SIM.DELAY_MS):\n";
  for (const fault_row& row : fault_table()) append_help(lines, row.name, row.argument, row.help);
  lines += "\nOnly as a column: SIM.ADDRESS, where a unit lives when not at its IP.ADDRESS.\n";
  return lines;
}

}  // namespace fleet
