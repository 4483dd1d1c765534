// discovery: 2,047 units answer one query at once, each with two datagrams of 1,200 bytes and 128 keys, all
// first datagrams before the second ones.
//   bench_discovery PROGRAM FLOOR   two files named handler.cgi: the guard looks for that name

#include <sys/types.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>
#include <vector>

#include "measure.hpp"

namespace {

constexpr int units = 2047;
constexpr int keys = 128;
constexpr int named_keys = 4;
constexpr int rounds = 10;
constexpr double most_kib = 8 * 1024;

// The number of the last field that is compiled whole. It is in the second datagram, of which only the bytes
// up to the unit's 2,048th are compiled.
constexpr int last_whole_key = 105;

const measured_request discover{.environment = {"PATH=/bin:/usr/local/bin", "REQUEST_METHOD=GET",
                                                "QUERY_STRING=CMD=DISCOVER_DEVICES_API"}};

std::string key_name(int key) {
  constexpr const char* names[named_keys] = {"IP.ADDRESS", "UNIT.SERIAL", "UNIT.MODEL", "UNIT.ID"};
  return key < named_keys ? names[key] : "TEST.K" + std::to_string(100 + key);
}

// All addresses have the same length, so none is the beginning of another.
std::string address_of(int unit) {
  constexpr int hosts = 150;
  return "10.77." + std::to_string(100 + unit / hosts) + "." + std::to_string(100 + unit % hosts);
}

void write_site() {
  std::ofstream list{"/etc/keys.txt"};
  std::ofstream csv{"/tmp/units.csv"};
  for (int key = 0; key < keys; ++key) {
    list << key_name(key) << '\n';
    csv << (key > 0 ? "," : "") << key_name(key);
  }
  for (int unit = 0; unit < units; ++unit) {
    csv << "\r\n"
        << address_of(unit) << ",S" << 10000 + unit << (unit % 2 == 0 ? ",TX610" : ",RX610") << ",U" << unit;
    for (int key = named_keys; key < keys; ++key) csv << ",V" << 10000 + unit;
  }
  csv << "\r\n";
}

void start_fleet() {
  const char* start =
      "fleet --units /tmp/units.csv --split 1200 --interleave --burst > /tmp/fleet.out & "
      "for i in $(seq 300); do grep -q ready /tmp/fleet.out && exit 0; sleep 0.1; done; exit 1";
  if (std::system(start) != 0) fail("the fleet does not start");
}

// The position of the field with that number, or npos.
std::size_t find_field(const std::string& line, int number) {
  std::size_t comma = 0;
  for (; number > 0 && comma != std::string::npos; --number) comma = line.find(',', comma + 1);
  return comma == std::string::npos ? comma : comma + 1;
}

// The number of units of the last run whose line also has a value from the second datagram.
int complete_units() {
  std::ifstream csv{"/tmp/discover.csv"};
  int complete = 0;
  std::string line;
  std::getline(csv, line);
  while (std::getline(csv, line)) {
    const std::size_t last = find_field(line, last_whole_key);
    if (last != std::string::npos && line[last] == 'V') ++complete;
  }
  return complete;
}

}  // namespace

int main(int count, char** arguments) {
  if (count < 3) fail("usage: bench_discovery PROGRAM FLOOR");
  write_site();
  start_fleet();
  std::vector<double> program_time;
  std::vector<double> floor_time;
  std::vector<double> program_own_time;
  std::vector<double> floor_own_time;
  double peak_kib = 0;
  int fewest = units;
  for (int round = 0; round < rounds; ++round) {
    const cost program = run_measured(arguments[1], discover);
    fewest = std::min(fewest, complete_units());
    const std::string csv = content_of("/tmp/discover.csv") + content_of("/tmp/discover.info");
    const cost floor = run_measured(arguments[2], discover);
    const bool same = csv == content_of("/tmp/discover.csv") + content_of("/tmp/discover.info");
    if (!same) std::fprintf(stderr, "bench: a run lost datagrams: program and floor differ\n");
    program_time.push_back(program.processor_us / units);
    floor_time.push_back(floor.processor_us / units);
    program_own_time.push_back(program.own_us / units);
    floor_own_time.push_back(floor.own_us / units);
    peak_kib = std::max(peak_kib, program.peak_kib);
  }
  print_row("discovery: units complete, fewest of 10 runs (all)", units, fewest, 1);
  print_row("discovery: processor time a unit, us", middle_mean(program_time), middle_mean(floor_time), 1.3);
  print_row("discovery: of it without the tools, us", middle_mean(program_own_time),
            middle_mean(floor_own_time), 1.3);
  print_row("discovery: peak memory, KiB (8 MiB)", peak_kib, most_kib, 1);
}
