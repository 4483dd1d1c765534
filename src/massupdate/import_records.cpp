#include "massupdate/import_records.hpp"

#include "discovery/discovery_state.hpp"

int find_cell(const column_list& columns, const record_table& records, int row, std::string_view key) {
  return find_cell(columns, records, row, key, columns.find_no_case(key));
}

int find_cell(const column_list& columns, const record_table& records, int row, std::string_view key,
              int first_column) {
  int column = first_column;
  while (column != column_list::none && !records.holds(row, column)) {
    column = columns.find_no_case(key, column + 1);
  }
  return column;
}

int get_row_value(int row, std::string_view key, fixed_text<64>& value) {
  value.clear();
  const int column = find_cell(import_header_table, kvp_table, row, key);
  if (column == column_list::none || column >= key_header_count()) return key_header_count();
  value.assign_cut(kvp_table.value(row, column));
  return column;
}
