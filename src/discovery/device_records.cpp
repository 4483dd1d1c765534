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
  if (mode == discovery_mode)
    return std::span{key_header_table}.first(static_cast<std::size_t>(key_header_count));
  return std::span{import_header_table}.first(static_cast<std::size_t>(import_header_count));
}

void store_in_vdt(std::string_view key, std::string_view value) {
  if (!vdt || current_record >= vdt_count) return;
  for (const vdt_column& column : vdt_columns) {
    if (equal_no_case(key, column.key))
      (vdt[static_cast<std::size_t>(current_record)].*column.text).assign_cut(value);
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
  if (!kvp_table || current_record >= device_count || key.empty() || key.size() >= key_size) return -1;
  const std::span<const key_header_entry> columns = columns_of(mode);
  const auto column =
      std::ranges::find(columns, key, [](const key_header_entry& entry) { return entry.key.view(); });
  if (column == columns.end()) return -1;
  const auto slot = column - columns.begin();
  key_header_entry& entry =
      kvp_table[static_cast<std::size_t>(current_record)].slots[static_cast<std::size_t>(slot)];
  entry.key.assign_cut(key);
  if (!value.empty() && value.size() < key_size) entry.value.assign_cut(value);
  entry.class_set = column->class_set;
  if (mode == discovery_mode) store_in_vdt(key, value);
  return static_cast<int>(slot);
}
