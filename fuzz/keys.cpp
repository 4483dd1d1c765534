// Keys files: the input is a keys file. It is read as the columns of both header tables.

#include <string>

#include "base/unit.hpp"
#include "discovery/discovery_state.hpp"
#include "discovery/key_catalogue.hpp"
#include "discovery/key_header.hpp"
#include "fuzz.hpp"

namespace {

constexpr const char* csv_file = "/tmp/keys.csv";

// The header line for a table.
std::string header_line(const column_list& table) {
  std::string line;
  for (int column = 0; column < table.size(); ++column) {
    const std::string_view key = table.key(column);
    require(!key.empty() && key.find_first_of("\r\n") == std::string_view::npos,
            "a column has a name of one line");
    line.append(column > 0 ? "," : "").append(key);
  }
  return line + "\r\n";
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  write_file(unit::keys_file, std::string{text_of(data, size)});
  const int count = ckht(discovery_mode, csv_file);
  require(key_header_count() == count, "columns are counted");
  require(read_file(csv_file) == header_line(key_header_table), "the header line matches the table");
  for (int column = 0; column < count; ++column) {
    const std::string_view key = key_header_table.key(column);
    require(ckv(key) == 1, "an import may have every column");
    const int found = key_header_table.find(key);
    require(found >= 0 && found <= column && key_header_table.key(found) == key, "a key is found");
  }
  require(ckht(import_mode, csv_file) == count, "an import may have all columns");
  require(read_file(csv_file) == header_line(import_header_table),
          "the import header line matches its table");
  return 0;
}
