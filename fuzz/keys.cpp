// Keys files: the input is one, read as the columns of both header tables.

#include <string>

#include "base/unit.hpp"
#include "discovery/device_records.hpp"
#include "discovery/discovery_state.hpp"
#include "discovery/key_catalogue.hpp"
#include "discovery/key_header.hpp"
#include "fuzz.hpp"

namespace {

constexpr const char* csv_file = "/tmp/keys.csv";

// The header line that a table of so many keys has.
template <typename Table>
std::string header_line(const Table& table, int count) {
  std::string line;
  for (std::size_t i = 0; i < static_cast<std::size_t>(count); ++i) {
    const std::string_view key = table[i].key.view();
    require(!key.empty() && key.find_first_of("\r\n") == std::string_view::npos,
            "a column has a name of one line");
    line.append(i > 0 ? "," : "").append(key);
  }
  return line + "\r\n";
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  write_file(unit::keys_file, std::string{text_of(data, size)});
  const int count = ckht(discovery_mode, csv_file);
  require(count >= 0 && count <= static_cast<int>(header_slots), "columns fit into the table");
  require(key_header_count == count && key_header_fill == 0, "columns are counted");
  require(read_file(csv_file) == header_line(key_header_table, count), "line and table line up");
  for (std::size_t i = 0; i < static_cast<std::size_t>(count); ++i) {
    require(ckv(key_header_table[i].key.view()) == 1, "an import may hold every column");
  }
  require(ckht(import_mode, csv_file) == count, "an import may hold all columns");
  require(read_file(csv_file) == header_line(import_header_table, count), "its line and table line up");
  return 0;
}
