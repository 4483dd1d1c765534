// fleet: simulates the units of a site, in the box or on a booted machine. Prints "fleet: N units ready" once
// it can answer. Exit status 0 on SIGTERM or SIGINT, 1 when it cannot start, 2 for wrong options, 3 when the
// unit itself restarts.
#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <iterator>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "address.hpp"
#include "made_up_units.hpp"
#include "message.hpp"
#include "network.hpp"
#include "options.hpp"
#include "simulation.hpp"
#include "unit.hpp"
#include "units_csv.hpp"

namespace {

constexpr int restart_status = 3;

volatile std::sig_atomic_t stop = 0;

int fail(int status, const std::string& problem) {
  std::fprintf(stderr, "fleet: %s\n", problem.c_str());
  return status;
}

bool read_file(const std::string& path, std::string& text) {
  std::ifstream file{path, std::ios::binary};
  if (file) text.assign(std::istreambuf_iterator<char>{file}, {});
  return static_cast<bool>(file);
}

// This unit as it is made up, or as it saved itself. A kept file that cannot be read is ignored.
fleet::unit_description describe_self(const fleet::options& options) {
  fleet::unit_description self = fleet::make_up_unit(options.number, options.every_unit);
  std::string text, problem;
  if (options.kept_file.empty() || !read_file(options.kept_file, text)) return self;
  const auto kept = fleet::describe_units(text, options.every_unit, problem);
  return kept.empty() ? self : kept.front();
}

// Returns the index of this unit in `units`, and adds it when no other unit has its address or serial. When
// this unit keeps its settings, what it saved replaces the other description.
std::size_t find_or_add_self(std::vector<fleet::unit>& units, const fleet::options& options) {
  const fleet::unit self{describe_self(options), units.size()};
  const auto is_self = [&self](const fleet::unit& unit) {
    return unit.address() == self.address() || unit.value("UNIT.SERIAL") == self.value("UNIT.SERIAL");
  };
  const auto found = std::ranges::find_if(units, is_self);
  const std::ptrdiff_t index = found - units.begin();
  if (found == units.end()) {
    units.push_back(self);
  } else if (!options.kept_file.empty()) {
    *found = self;
  }
  return static_cast<std::size_t>(index);
}

// Adds the units of the file and the made-up ones. Returns what is wrong with the file, or an empty text.
std::string add_units(const fleet::options& options, std::vector<fleet::unit>& units) {
  std::string problem;
  if (!options.units_file.empty()) {
    std::string text;
    if (!read_file(options.units_file, text)) return "cannot read " + options.units_file;
    for (fleet::unit_description& unit : fleet::describe_units(text, options.every_unit, problem)) {
      units.emplace_back(std::move(unit), units.size());
    }
  }
  for (unsigned number = options.first; number < options.first + options.count; ++number) {
    units.emplace_back(fleet::make_up_unit(number, options.every_unit), units.size());
  }
  return problem;
}

// Prints this unit's answer to a full query, one pair a line.
void print_values(fleet::unit self) {
  const std::string_view query = "CMD=START&UNIT.ID=ALL&QUERY.ALL=TRUE&CMD=END";
  std::string text = self.act_on(fleet::read_request(query).value())->text;
  std::ranges::replace(text, '&', '\n');
  std::puts(text.c_str());
}

// Writes the file that the stand-in for node_list prints.
bool write_node_list(const std::string& path, const std::vector<fleet::unit>& units) {
  std::ofstream file{path};
  for (const fleet::unit& unit : units) {
    file << fleet::address_text(unit.address()) << " " << unit.value("UNIT.ID") << " "
         << unit.value("UNIT.MODEL") << "\n";
  }
  return file.flush().good();
}

int run(const fleet::options& options) {
  std::vector<fleet::unit> units;
  const std::string problem = add_units(options, units);
  if (!problem.empty()) return fail(1, problem);
  std::optional<std::size_t> self;
  if (options.self || options.print_self) self = find_or_add_self(units, options);
  if (!options.node_list_file.empty() && !write_node_list(options.node_list_file, units)) {
    return fail(1, "cannot write " + options.node_list_file);
  }
  if (options.print_self) {
    print_values(units[*self]);
    return 0;
  }
  std::ofstream log;
  if (!options.log_file.empty()) {
    log.open(options.log_file);
    log.close();
    log.open(options.log_file, std::ios::app);  // for appending: somebody may truncate it meanwhile
  }
  if (!log) return fail(1, "cannot write " + options.log_file);
  fleet::network wire;
  if (!wire.open(options.interface.c_str())) {
    return fail(1, std::string{"no socket on port 8000: "} + std::strerror(errno));
  }

  for (const int signal : {SIGTERM, SIGINT}) std::signal(signal, [](int) { stop = 1; });
  std::printf("fleet: %zu units ready\n", units.size());
  std::fflush(stdout);
  fleet::simulation simulation{options, std::move(units), self, wire, log};
  const fleet::run_end end = simulation.run(stop);
  if (end == fleet::run_end::failed) return fail(1, "cannot wait for requests");
  return end == fleet::run_end::restart ? restart_status : 0;
}

}  // namespace

int main(int count, char** arguments) {
  fleet::options options;
  const std::string problem =
      fleet::read_options(std::span{arguments, static_cast<std::size_t>(count)}.subspan(1), options);
  if (!problem.empty()) return fail(2, problem + "; try --help");
  if (!options.help) return run(options);
  std::fputs(fleet::help_text().c_str(), stdout);
  return 0;
}
