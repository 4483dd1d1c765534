#include "massupdate/import_records.hpp"

#include <algorithm>
#include <span>

#include "base/text.hpp"

int find_slot(const kvp_record& record, int count, std::string_view key) {
  const auto slots = std::span{record.slots}.first(static_cast<std::size_t>(count));
  const auto bears_key = [key](const key_header_entry& slot) { return equal_no_case(slot.key.view(), key); };
  return static_cast<int>(std::ranges::find_if(slots, bears_key) - slots.begin());
}

int get_row_value(int row, std::string_view key, fixed_text<64>& value) {
  const kvp_record& record = kvp_table[static_cast<std::size_t>(row)];
  const int slot = find_slot(record, key_header_count, key);
  value.clear();
  if (slot < key_header_count) value = record.slots[static_cast<std::size_t>(slot)].value;
  return slot;
}
