#include "massupdate/import_csv.hpp"

#include <algorithm>
#include <array>
#include <limits>
#include <string_view>

#include "base/files.hpp"
#include "base/text.hpp"
#include "discovery/device_records.hpp"
#include "discovery/discovery_state.hpp"
#include "discovery/key_header.hpp"
#include "discovery/model_catalogue.hpp"
#include "massupdate/import_records.hpp"
#include "massupdate/mass_update.hpp"

namespace {

constexpr std::size_t columns = header_slots;

// The slot that each column's key got in import_header_table; -1 for a column without one.
using column_slots = std::array<int, columns>;

std::int32_t count_data_lines(const char* path) {
  const unique_file file = open_for_reading(path);
  const std::size_t lines = file ? count_lines(file.get()) : 0;
  constexpr std::size_t most_lines = std::numeric_limits<std::int32_t>::max();
  return lines > 0 ? static_cast<std::int32_t>(std::min(lines, most_lines) - 1) : 0;
}

bool holds_zero_byte(std::string_view text) {
  return text.find('\0') != std::string_view::npos;
}

// Returns the new slot, or -1 when the key is refused.
int add_key(std::string_view key) {
  if (holds_zero_byte(key)) return -1;
  const int fill = akkh(import_mode, key);
  return fill > 0 ? fill - 1 : -1;
}

// Header fields are taken as they stand, quotes and blanks included.
column_slots read_header(std::string_view line) {
  column_slots slots;
  slots.fill(-1);
  std::size_t column = 0;
  std::size_t comma = 0;
  for (; column < columns && (comma = line.find(',')) != std::string_view::npos; ++column) {
    slots[column] = add_key(line.substr(0, comma));
    line.remove_prefix(comma + 1);
  }
  if (column < columns) slots[column] = add_key(text_before_line_end(line));
  import_header_count = import_header_fill;
  import_header_fill = 0;
  return slots;
}

// Takes a cell and the comma behind it, the line's first, off the line. Returns the cell's value, empty when it
// stores nothing.
std::string_view take_cell(std::string_view& line, std::size_t comma) {
  std::string_view value = line.substr(0, comma);
  if (line.starts_with('"')) {
    const std::size_t closing = line.find('"', 1);
    const bool quoted =
        closing != std::string_view::npos && closing > comma && line.substr(closing + 1).starts_with(',');
    value = quoted ? line.substr(1, closing - 1) : std::string_view{};
    if (quoted) comma = closing + 1;
  }
  line.remove_prefix(comma + 1);
  return value;
}

std::string_view key_of(int slot) {
  return import_header_table[static_cast<std::size_t>(slot)].key.view();
}

void store_value(int slot, std::string_view value) {
  if (slot >= 0 && value.size() < key_size) kvp_set_value(import_mode, key_of(slot), value);
}

void mark_model(std::string_view model) {
  unsigned marks = 0;
  if (is_decoder_model(model)) marks |= decoder_record;
  if (is_encoder_model(model)) {
    marks |= encoder_record;
    if (is_wallplate_model(model)) marks |= wallplate_record;
  }
  if (is_second_gen_model(model)) marks |= second_gen_record;
  std::uint16_t& flags = kvp_table[static_cast<std::size_t>(current_record)].record_flags;
  flags = static_cast<std::uint16_t>(flags | marks);
}

void read_record(std::string_view line, const column_slots& slots) {
  // What stands in front of a zero byte would pass for a whole serial or address.
  if (holds_zero_byte(line)) return;
  std::size_t column = 0;
  std::size_t comma = 0;
  for (; column < columns && (comma = line.find(',')) != std::string_view::npos; ++column) {
    const std::string_view value = take_cell(line, comma);
    if (value.empty()) continue;
    store_value(slots[column], value);
    if (slots[column] >= 0 && equal_no_case(key_of(slots[column]), "UNIT.MODEL")) mark_model(value);
  }
  if (column < columns) store_value(slots[column], text_before_line_end(line));
}

// Reads the file into the records. When it cannot be read to its end, as without memory for a line, the records
// are given up and all lines counted.
void read_records(const char* path) {
  const unique_file file = open_for_reading(path);
  if (!file) return;
  line_reader lines{file.get()};
  if (lines.next()) {
    const column_slots slots = read_header(lines.line());
    for (; current_record < device_count && lines.next(); ++current_record) {
      if (kvp_table) read_record(lines.line(), slots);
    }
  }
  if (!lines.failed()) return;
  kvp_free();
  current_record = device_count;
}

}  // namespace

int load_import_csv(const char* path) {
  device_count = count_data_lines(path);
  kvp_alloc();
  read_records(path);
  return device_count = current_record;
}

int read_import_csv(const char* path, int flag) {
  const int records = load_import_csv(path);
  if (flag > 0) send_csv_to_devices();
  kvp_free();
  return records;
}
