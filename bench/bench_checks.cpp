// checks: the duplicate check of 2,000 imported records. The floor, in this process, knows the columns of the
// identities. It also groups them by hash, and writes the same log lines in the same order in blocks.
//   bench_checks

#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "base/text.hpp"
#include "discovery/device_records.hpp"
#include "discovery/discovery_state.hpp"
#include "discovery/key_header.hpp"
#include "massupdate/checks.hpp"
#include "massupdate/import_csv.hpp"
#include "massupdate/import_records.hpp"
#include "measure.hpp"

namespace {

constexpr int records = 2000;
constexpr const char* site_log = "/tmp/site.log";
constexpr int identities = 3;

enum class site { ordinary, one_pair, all_twins };

// Imports 40 columns, the three identities first. Twins are far apart and differ in letter case.
void import_site(site kind) {
  std::ofstream keys{"/etc/keys.txt"};
  std::ofstream csv{"/tmp/import.csv"};
  std::string header = "UNIT.ID,IP.ADDRESS,UNIT.SERIAL";
  std::string settings;
  for (int key = 3; key < 40; ++key) {
    header += ",TEST.K" + std::to_string(100 + key);
    settings += ",value " + std::to_string(key);
  }
  csv << header << "\r\n";
  std::ranges::replace(header, ',', '\n');
  keys << header << '\n';
  for (int i = 0; i < records; ++i) {
    const bool twin =
        i >= records / 2 && (kind == site::all_twins || (kind == site::one_pair && i == records - 1));
    const std::string number = std::to_string(10000 + (twin ? i - records / 2 : i));
    csv << (twin ? "unit-" : "UNIT-") << number << ",10.77." << i / 250 << '.' << i % 250 << ",KU" << number
        << settings << "\r\n";
  }
  keys.close();
  csv.close();
  ckht(discovery_mode, "/tmp/import2.csv");
  if (load_import_csv("/tmp/import.csv") != records) fail("cannot import the CSV");
}

// Writes lines to the site log in blocks of 64 KiB.
class block_writer {
 public:
  void add(const char* text, std::size_t length) {
    if (used_ + length > block_.size()) flush();
    std::memcpy(block_.data() + used_, text, length);
    used_ += length;
  }
  void flush() {
    if (write(file_, block_.data(), used_) != static_cast<ssize_t>(used_)) fail("cannot write the log");
    used_ = 0;
  }
  ~block_writer() {
    flush();
    close(file_);
  }

 private:
  int file_ = open(site_log, O_WRONLY | O_CREAT | O_APPEND, 0666);
  std::size_t used_ = 0;
  std::array<char, 65536> block_;
};

struct seen_identity {
  std::uint64_t hash;
  int record;
};

std::uint64_t folded_hash(std::string_view text) {
  std::uint64_t hash = 14695981039346656037U;
  for (const char letter : text) {
    hash = (hash ^ static_cast<unsigned char>(to_lower(letter))) * 1099511628211U;
  }
  return hash;
}

// Marks the records that share the identity in that column, and keeps the first turn in which each is marked.
void group(int column, std::vector<int>& first_turn) {
  constexpr std::size_t places = 4096;
  std::vector<seen_identity> seen(places, {0, -1});
  for (int record = 0; record < records; ++record) {
    const std::uint64_t hash = folded_hash(kvp_table.value(record, column));
    std::size_t place = hash % places;
    while (seen[place].record >= 0 && seen[place].hash != hash) place = (place + 1) % places;
    if (seen[place].record < 0) {
      seen[place] = {hash, record};
      continue;
    }
    const int first = seen[place].record;
    for (const int equal : {first, record}) {
      kvp_table.add_flags(equal, duplicate_record);
      int& turn = first_turn[static_cast<std::size_t>(equal)];
      turn = std::min(turn, equal == first ? record : first);
    }
  }
}

// The floor: the three groupings, and then the pairs in the order of turns and records.
void floor_check() {
  constexpr char begin[] = "     BEGIN duplicate_check_kvp(): \n";
  constexpr char end[] = "     END duplicate_check_kvp(): \n";
  block_writer log;
  log.add(begin, sizeof begin - 1);
  std::vector<int> first_turn(records, records);
  for (int column = 0; column < identities; ++column) group(column, first_turn);
  std::vector<std::pair<int, std::string>> twins;
  for (int record = 0; record < records; ++record) {
    if (first_turn[static_cast<std::size_t>(record)] < records) {
      twins.emplace_back(record, std::to_string(record) + " \n");
    }
  }
  for (int turn = 0; turn < records && !twins.empty(); ++turn) {
    const std::string start =
        "     duplicate_check_kvp(): Duplicate Device DATA " + std::to_string(turn) + " ";
    for (const auto& [record, number] : twins) {
      if (record == turn || first_turn[static_cast<std::size_t>(record)] > turn) continue;
      log.add(start.data(), start.size());
      log.add(number.data(), number.size());
    }
  }
  log.add(end, sizeof end - 1);
}

double own_processor_us() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return static_cast<double>(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) * 1e6 +
         static_cast<double>(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec);
}

double time_of(void (*check)()) {
  std::filesystem::remove(site_log);
  const double start = own_processor_us();
  check();
  return own_processor_us() - start;
}

// Everything that a check leaves: its log and every record's flags.
std::string visible_result(site kind, void (*check)()) {
  import_site(kind);
  std::filesystem::remove(site_log);
  check();
  std::string result = content_of(site_log);
  for (int record = 0; record < records; ++record) result += std::to_string(kvp_table.flags(record)) + ' ';
  return result;
}

void measure(const char* name, site kind, int rounds) {
  if (visible_result(kind, duplicate_check_kvp) != visible_result(kind, floor_check)) {
    fail("program and floor give different results");
  }
  std::vector<double> program_time;
  std::vector<double> floor_time;
  for (int round = 0; round < rounds; ++round) {
    program_time.push_back(time_of(duplicate_check_kvp));
    floor_time.push_back(time_of(floor_check));
  }
  print_row(std::string{"checks: 2,000 records, "} + name + ", us", middle_mean(program_time),
            middle_mean(floor_time), 2);
}

}  // namespace

int main() {
  measure("ordinary", site::ordinary, 400);
  measure("one pair", site::one_pair, 400);
  measure("all in twins", site::all_twins, 15);
}
