#include "discovery/key_header.hpp"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <span>

#include "base/files.hpp"
#include "base/fixed_text.hpp"
#include "base/text.hpp"
#include "base/unit.hpp"
#include "discovery/device_records.hpp"
#include "discovery/discovery_state.hpp"
#include "discovery/key_catalogue.hpp"

namespace {

constexpr std::size_t line_size = 256;
constexpr std::uint16_t header_classes =
    KEY_CLASS_ENCODER | KEY_CLASS_DECODER | KEY_CLASS_STATUS | KEY_CLASS_EXCLUDED | KEY_CLASS_EXTENDED;

std::uint16_t classify(std::string_view key, std::uint16_t classes) {
  fixed_text<key_size> copy;
  return copy.assign_if_fits(key) ? classify_key(copy.buffer().data(), classes) : std::uint16_t{0};
}

bool fits_as_key(std::string_view key) {
  return !key.empty() && key.size() < key_size;
}

struct header {
  std::array<key_header_entry, header_slots>& table;
  int& count;
  int& fill;
};

header header_of(int mode) {
  if (mode == discovery_mode) return {key_header_table, key_header_count, key_header_fill};
  return {import_header_table, import_header_count, import_header_fill};
}

// Writes the keys as the header line and puts them into the table. Returns their number.
int copy_keys(int mode, std::FILE* keys, std::FILE* csv) {
  int written = 0;
  fixed_text<line_size> line;
  while (read_line(keys, line.buffer()) > 0) {
    if (classify_key(line.buffer().data(), KEY_CLASS_EXCLUDED) != 0) continue;
    const std::string_view key = text_before_line_end(line.view());
    if (!fits_as_key(key) || static_cast<std::size_t>(written) >= header_slots) continue;
    std::fprintf(csv, written == 0 ? "%.*s" : ",%.*s", static_cast<int>(key.size()), key.data());
    akkh(mode, key);
    ++written;
  }
  std::fputs("\r\n", csv);
  return written;
}

bool has_repeats() {
  const auto end = key_header_table.begin() + key_header_count;
  return std::any_of(key_header_table.begin(), end, [&end](const key_header_entry& entry) {
    const auto is_same = [&entry](const key_header_entry& other) { return other.key == entry.key; };
    return std::count_if(key_header_table.begin(), end, is_same) > 1;
  });
}

}  // namespace

int ckht(int mode, const char* path) {
  const unique_file keys = open_for_reading(unit::keys_file);
  const unique_file csv = open_for_writing(path, write_mode::replace);
  if (!keys || !csv) return 0;
  const header columns = header_of(mode);
  columns.fill = 0;
  const int written = copy_keys(mode, keys.get(), csv.get());
  columns.count = written;
  columns.fill = 0;
  if (mode == discovery_mode) key_header_repeats = has_repeats();
  return written;
}

int akkh(int mode, std::string_view key) {
  const header columns = header_of(mode);
  const auto slot = static_cast<std::size_t>(columns.fill);
  if (!fits_as_key(key) || slot >= header_slots) return -1;
  if (mode != discovery_mode && ckv(key) != 1) return -1;
  key_header_entry& entry = columns.table[slot];
  entry.class_set = classify(key, header_classes);
  entry.key.assign_cut(key);
  return ++columns.fill;
}

int ckv(std::string_view key) {
  const std::span known{key_header_table.data(), static_cast<std::size_t>(key_header_count)};
  const bool is_column =
      std::ranges::any_of(known, [key](const auto& entry) { return equal_no_case(entry.key.view(), key); });
  return is_column || classify(key, KEY_CLASS_EXCLUDED) != 0 ? 1 : -1;
}
