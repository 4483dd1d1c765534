#include "massupdate/import_csv.hpp"

#include <algorithm>
#include <array>
#include <cstdio>
#include <limits>
#include <span>
#include <string_view>

#include "base/element.hpp"
#include "base/files.hpp"
#include "base/text.hpp"
#include "discovery/column_list.hpp"
#include "discovery/device_records.hpp"
#include "discovery/discovery_state.hpp"
#include "discovery/key_header.hpp"
#include "discovery/model_catalogue.hpp"
#include "massupdate/import_records.hpp"
#include "massupdate/mass_update.hpp"

namespace {

constexpr std::size_t read_block_size = 65536;

// Where the cells of a CSV column go. The header line decides that once for all rows.
struct csv_column {
  int column = column_list::none;  // column of the table; none for a refused key
  bool is_model = false;
};
using csv_columns = std::array<csv_column, column_list::most_columns>;

bool has_zero_byte(std::string_view text) {
  return text.find('\0') != std::string_view::npos;
}

// Takes the next line, with its line feed, off the text. The last one may lack it.
std::string_view take_line(std::string_view& text) {
  const std::string_view line = text.substr(0, text.find('\n') + 1);
  const std::string_view taken = line.empty() ? text : line;
  text.remove_prefix(taken.size());
  return taken;
}

// Adds a header cell's key. Of two columns with the same key the first takes the cells of both.
csv_column add_key(std::string_view key) {
  if (has_zero_byte(key) || akkh(import_mode, key) < 0) return {};
  return {import_header_table.find(key), equal_no_case(key, "UNIT.MODEL")};
}

// Reads the header line. Cells are taken literally, with their quotes and blanks.
csv_columns read_header(std::string_view line) {
  import_header_table.clear();
  csv_columns columns;
  for (csv_column& column : columns) {
    const std::size_t comma = line.find(',');
    if (comma == std::string_view::npos) {
      column = add_key(text_before_line_end(line));
      break;
    }
    column = add_key(line.substr(0, comma));
    line.remove_prefix(comma + 1);
  }
  return columns;
}

// Takes a cell that starts with a quote, and the comma after it, off the line. `comma` is the line's first
// comma. Returns the value, empty when the cell stores nothing:
//
//     "a,b",...   a,b       the closing quote is after the first comma and in front of another
//     "ab",...    nothing   quotes without a comma in them
//     "a,b"x,...  nothing   the cell is "a: it ends at the first comma
std::string_view take_quoted_cell(std::string_view& line, std::size_t comma) {
  const std::size_t closing = line.find('"', 1);
  const bool quoted =
      closing != std::string_view::npos && closing > comma && line.substr(closing + 1).starts_with(',');
  const std::string_view value = quoted ? line.substr(1, closing - 1) : std::string_view{};
  line.remove_prefix((quoted ? closing + 1 : comma) + 1);
  return value;
}

// The same for a cell of either kind.
std::string_view take_cell(std::string_view& line, std::size_t comma) {
  if (line.front() == '"') return take_quoted_cell(line, comma);
  const std::string_view value{line.data(), comma};
  line.remove_prefix(comma + 1);
  return value;
}

// The flags of a record with this model.
unsigned model_flags(std::string_view model) {
  unsigned flags = 0;
  if (is_decoder_model(model)) flags |= decoder_record;
  if (is_encoder_model(model)) {
    flags |= encoder_record;
    if (is_wallplate_model(model)) flags |= wallplate_record;
  }
  if (is_second_gen_model(model)) flags |= second_gen_record;
  return flags;
}

// Stores a cell. Drops one over 63 bytes: a unit must never be sent a cut value.
void store_value(record_table& records, int row, const csv_column& place, std::string_view value) {
  if (place.column == column_list::none || value.size() >= key_size) return;
  records.set_part(row, place.column, value);
}

// Reads the cells of a line. The one after the last comma is stored literally, also when it is empty.
void read_record(std::string_view line, const csv_columns& columns, record_table& records, int row) {
  for (const csv_column& place : columns) {
    const std::size_t comma = line.find(',');
    if (comma == std::string_view::npos) {
      store_value(records, row, place, text_before_line_end(line));
      return;
    }
    const std::string_view value = take_cell(line, comma);
    if (value.empty()) continue;
    store_value(records, row, place, value);
    if (place.is_model) records.add_flags(row, model_flags(value));
  }
}

// Reads the whole file into the table's text, where the cells then point to. Returns false after a read error
// and without memory.
bool read_text(std::FILE* file, record_table& records) {
  for (;;) {
    const std::span<char> block = records.extend_text(read_block_size);
    if (block.empty()) return false;
    const std::size_t length = std::fread(block.data(), 1, block.size(), file);
    records.shrink_text(block.size() - length);
    if (length < block.size()) return std::ferror(file) == 0;
  }
}

// Reads the lines after the header, one row each. Returns false without memory.
bool read_rows(std::string_view text, const csv_columns& columns, record_table& records) {
  const bool zero_bytes = has_zero_byte(text);
  while (!text.empty()) {
    const std::string_view line = take_line(text);
    if (!records.append_row()) return false;
    // The text in front of a zero byte would pass for a complete serial or address.
    if (zero_bytes && has_zero_byte(line)) continue;
    read_record(line, columns, records, records.rows() - 1);
  }
  return true;
}

// Reads the file into the table. Returns false, with the table released, after a read error and without
// memory.
bool read_records(std::FILE* file, record_table& records) {
  records.start(0);
  bool whole = read_text(file, records);
  if (whole) {
    std::string_view text = records.text();
    const csv_columns columns = read_header(take_line(text));
    records.set_columns(import_header_table.size());
    whole = read_rows(text, columns, records);
  }
  if (!whole) records.release();
  return whole;
}

// The number of lines after the first.
int count_data_lines(std::FILE* file) {
  std::rewind(file);
  constexpr std::size_t most_lines = std::numeric_limits<std::int32_t>::max();
  return std::max(static_cast<int>(std::min(count_lines(file), most_lines)) - 1, 0);
}

}  // namespace

int load_import_csv(const char* path) {
  kvp_free();
  device_count = 0;
  if (const unique_file file = open_for_reading(path)) {
    device_count = read_records(file.get(), kvp_table) ? kvp_table.rows() : count_data_lines(file.get());
  }
  return current_record = device_count;
}

int read_import_csv(const char* path, int flag) {
  const int records = load_import_csv(path);
  if (flag > 0) send_csv_to_devices();
  kvp_free();
  return records;
}
