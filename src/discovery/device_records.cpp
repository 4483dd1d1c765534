#include "discovery/device_records.hpp"

#include <algorithm>
#include <span>

#include "base/text.hpp"
#include "discovery/discovery_state.hpp"

namespace {

struct vdt_column {
  std::string_view key;
  fixed_text<64> vdt_record::*text;
};

constexpr auto vdt_columns = std::to_array<vdt_column>({
    {"UNIT.SERIAL", &vdt_record::serial},
    {"IP.ADDRESS", &vdt_record::address},
    {"UNIT.ID", &vdt_record::unit_id},
});

std::span<const key_header_entry> columns_of(int mode) {
  const bool found = mode == discovery_mode;
  const int count = found ? key_header_count : import_header_count;
  return std::span{found ? key_header_table : import_header_table}.first(static_cast<std::size_t>(count));
}

// Where the search for a key begins. Units give their values in the order of the columns more often than not,
// so it is behind the slot filled last, unless a repeated key, whose first slot takes the value, makes the
// order matter.
constinit std::size_t next_slot = 0;

std::size_t search_start(int mode, std::size_t columns) {
  return mode == discovery_mode && !key_header_repeats ? std::min(next_slot, columns) : 0;
}

// The slot that bears the key, searched from `start` on and then from the first one; the number of columns
// when none does.
std::size_t slot_of(std::span<const key_header_entry> columns, const fixed_text<key_size>& key,
                    std::size_t start) {
  const auto bears_key = [&key](const key_header_entry& entry) { return entry.key == key; };
  const auto first = columns.begin() + static_cast<std::ptrdiff_t>(start);
  auto found = std::find_if(first, columns.end(), bears_key);
  if (found == columns.end()) {
    found = std::find_if(columns.begin(), first, bears_key);
    if (found == first) return columns.size();
  }
  return static_cast<std::size_t>(found - columns.begin());
}

void store_in_vdt(std::string_view key, std::string_view value) {
  if (!vdt || current_record >= vdt_count) return;
  vdt_record& unit = vdt[static_cast<std::size_t>(current_record)];
  for (const vdt_column& column : vdt_columns) {
    if (equal_no_case(key, column.key)) (unit.*column.text).assign_cut(value);
  }
}

}  // namespace

void kvp_alloc() {
  kvp_table = device_count > 0 ? zeroed_array<kvp_record>(static_cast<std::size_t>(device_count)) : nullptr;
  current_record = 0;
}

void vdt_alloc() {
  if (device_count < 1) return;
  vdt = zeroed_array<vdt_record>(static_cast<std::size_t>(device_count));
  vdt_count = device_count;
}

void kvp_free() {
  kvp_table.reset();
}

void vdt_free() {
  vdt.reset();
}

int kvp_set_value(int mode, std::string_view key, std::string_view value) {
  fixed_text<key_size> wanted;
  if (!kvp_table || current_record >= device_count || key.empty() || !wanted.assign_if_fits(key)) return -1;
  const std::span<const key_header_entry> columns = columns_of(mode);
  const std::size_t slot = slot_of(columns, wanted, search_start(mode, columns.size()));
  if (slot == columns.size()) return -1;
  next_slot = slot + 1;
  key_header_entry& entry = kvp_table[static_cast<std::size_t>(current_record)].slots[slot];
  entry.key = wanted;
  if (!value.empty() && value.size() < key_size) entry.value.assign_cut(value);
  entry.class_set = columns[slot].class_set;
  if (mode == discovery_mode) store_in_vdt(key, value);
  return static_cast<int>(slot);
}
