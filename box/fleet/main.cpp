// fleet: stands for the other units of an installation, inside the box. Prints "fleet: N units ready" once it
// can answer and ends with status 0 on SIGTERM or SIGINT; status 1 when it cannot start, 2 for wrong options.
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
#include "network.hpp"
#include "options.hpp"
#include "simulation.hpp"
#include "unit.hpp"
#include "units_csv.hpp"

namespace {

volatile std::sig_atomic_t stop = 0;

int fail(int status, const std::string& problem) {
  std::fprintf(stderr, "fleet: %s\n", problem.c_str());
  return status;
}

bool is_this_unit(const fleet::unit& unit) {
  return unit.address() == fleet::this_unit_address || unit.value("UNIT.SERIAL") == "KU000001";
}

// Returns the index of this unit itself, which joins the others unless the file had it.
std::size_t find_or_add_self(std::vector<fleet::unit>& units, const fleet::faults& every_unit) {
  std::size_t index = 0;
  while (index < units.size() && !is_this_unit(units[index])) ++index;
  if (index == units.size()) units.emplace_back(fleet::make_up_unit(1, every_unit), index);
  return index;
}

// Adds the units of the file and the made-up ones. Returns what is wrong with the file, empty when nothing
// is.
std::string add_units(const fleet::options& options, std::vector<fleet::unit>& units) {
  std::string problem;
  if (!options.units_file.empty()) {
    std::ifstream file{options.units_file, std::ios::binary};
    if (!file) return "cannot read " + options.units_file;
    const std::string text{std::istreambuf_iterator<char>{file}, {}};
    for (fleet::unit_description& unit : fleet::describe_units(text, options.every_unit, problem)) {
      units.emplace_back(std::move(unit), units.size());
    }
  }
  for (unsigned number = 2; number < options.count + 2; ++number) {
    units.emplace_back(fleet::make_up_unit(number, options.every_unit), units.size());
  }
  return problem;
}

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
  if (options.self) self = find_or_add_self(units, options.every_unit);
  if (!options.node_list_file.empty() && !write_node_list(options.node_list_file, units)) {
    return fail(1, "cannot write " + options.node_list_file);
  }
  std::ofstream log;
  if (!options.log_file.empty()) {
    log.open(options.log_file);
    log.close();
    log.open(options.log_file, std::ios::app);  // somebody may empty it on the way
  }
  if (!log) return fail(1, "cannot write " + options.log_file);
  fleet::network wire;
  if (!wire.open()) return fail(1, std::string{"no socket on port 8000: "} + std::strerror(errno));

  for (const int signal : {SIGTERM, SIGINT}) std::signal(signal, [](int) { stop = 1; });
  std::printf("fleet: %zu units ready\n", units.size());
  std::fflush(stdout);
  fleet::simulation simulation{options, std::move(units), self, wire, log};
  return simulation.run(stop) ? 0 : fail(1, "cannot wait for requests");
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
