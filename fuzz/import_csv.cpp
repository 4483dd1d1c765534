// Import CSV: the input is a CSV. It is read into device records, which are then checked for shared
// identities.

#include "massupdate/import_csv.hpp"

#include <algorithm>
#include <string>

#include "discovery/device_records.hpp"
#include "discovery/discovery_state.hpp"
#include "discovery/key_header.hpp"
#include "fuzz.hpp"
#include "massupdate/checks.hpp"

namespace {

constexpr const char* csv_file = "/tmp/import.csv";
constexpr int most_lines = 100;                    // more find nothing new and are slow
constexpr const char* site_log = "/tmp/site.log";  // emptied for each input, or it would grow

void check_record(int row, std::string_view csv) {
  for (int column = 0; column < import_header_count(); ++column) {
    require(csv.find(kvp_table.value(row, column)) != std::string_view::npos,
            "a value is a part of the file");
  }
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const int columns = ckht(discovery_mode, "/tmp/header.csv");
  require(columns > 0, "the unit has keys");
  const std::string_view csv = text_of(data, size);
  const auto line_feeds = std::ranges::count(csv, '\n');
  if (line_feeds > most_lines) return 0;
  write_file(csv_file, std::string{csv});

  const int records = load_import_csv(csv_file);
  const bool open_end = !csv.empty() && !csv.ends_with('\n');
  require(records == std::max<long>(line_feeds + (open_end ? 1 : 0) - 1, 0),
          "every line after the first is a record");
  require(!kvp_table || kvp_table.rows() == records, "a row for each record");
  for (int row = 0; row < kvp_table.rows(); ++row) check_record(row, csv);
  write_file(site_log, {});
  duplicate_check_kvp();
  kvp_free();
  return 0;
}
