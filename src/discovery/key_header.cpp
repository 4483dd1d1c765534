#include "discovery/key_header.hpp"

#include <cstdint>

#include "base/files.hpp"
#include "base/fixed_text.hpp"
#include "base/text.hpp"
#include "base/unit.hpp"
#include "discovery/column_list.hpp"
#include "discovery/discovery_state.hpp"
#include "discovery/key_catalogue.hpp"

namespace {

constexpr std::size_t line_size = 256;
// The classes that a column records: all but KEY_CLASS_SECOND_GEN.
constexpr std::uint16_t header_classes =
    KEY_CLASS_ENCODER | KEY_CLASS_DECODER | KEY_CLASS_STATUS | KEY_CLASS_EXCLUDED | KEY_CLASS_EXTENDED;

// The header line: all keys, with a comma or the line end after each.
using header_line = fixed_text<column_list::most_columns * key_size + 2>;

// classify_key for a text that must not be changed.
std::uint16_t classify(std::string_view key, std::uint16_t classes) {
  fixed_text<key_size> copy;
  return copy.assign_if_fits(key) ? classify_key(copy.buffer().data(), classes) : std::uint16_t{0};
}

column_list& table_of(int mode) {
  return mode == discovery_mode ? key_header_table : import_header_table;
}

// Reads the next line of the keys file that names a column: not excluded, not empty, not too long. A line
// over 255 bytes is read in pieces. Returns false at EOF.
bool read_key(std::FILE* keys, fixed_text<line_size>& line) {
  while (read_line(keys, line.buffer()) > 0) {
    // Classified with its carriage return, if it has one: see the quirk in the header.
    const bool excluded = classify_key(line.buffer().data(), KEY_CLASS_EXCLUDED) != 0;
    line.assign_cut(text_before_line_end(line.view()));
    if (!excluded && !line.empty() && line.view().size() < key_size) return true;
  }
  return false;
}

}  // namespace

int ckht(int mode, const char* path) {
  const unique_file keys = open_for_reading(unit::keys_file);
  direct_file csv{path, write_mode::replace};
  if (!keys || !csv) return 0;
  table_of(mode).clear();
  int written = 0;
  header_line header;
  fixed_text<line_size> key;
  while (written < column_list::most_columns && read_key(keys.get(), key)) {
    if (written++ > 0) header.append_cut(",");
    header.append_cut(key.view());
    akkh(mode, key.view());
  }
  header.append_cut("\r\n");
  static_cast<void>(csv.write_whole(header.view()));
  return written;
}

int akkh(int mode, std::string_view key) {
  if (mode != discovery_mode && ckv(key) != 1) return -1;
  const int column = table_of(mode).add(key, classify(key, header_classes));
  return column == column_list::none ? -1 : column + 1;
}

int ckv(std::string_view key) {
  const bool is_column = key_header_table.find_no_case(key) != column_list::none;
  return is_column || classify(key, KEY_CLASS_EXCLUDED) != 0 ? 1 : -1;
}
