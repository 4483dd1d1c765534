// Imported records: flags and lookups of the records of kvp_table that an import filled.

#pragma once

#include <cstdint>
#include <string_view>

#include "base/fixed_text.hpp"
#include "discovery/column_list.hpp"
#include "discovery/record_table.hpp"

// The flags of a record. Both kinds may be set, when two columns name two models.
inline constexpr std::uint16_t duplicate_record = 0x04;  // shares an identity with another record: never sent
inline constexpr std::uint16_t encoder_record = 0x10;
inline constexpr std::uint16_t decoder_record = 0x20;
inline constexpr std::uint16_t wallplate_record = 0x100;
inline constexpr std::uint16_t second_gen_record = 0x200;

// The first column with this key, without regard to case, whose cell the record has set; none when there is
// none. The second form starts at first_column, so that a caller with many records searches the header only
// once.
[[nodiscard]] int find_cell(const column_list& columns, const record_table& records, int row,
                            std::string_view key);
[[nodiscard]] int find_cell(const column_list& columns, const record_table& records, int row,
                            std::string_view key, int first_column);

// Copies the value that record `row` of kvp_table has for the key, empty when it has none, and returns its
// column. Quirk: only the first key_header_count columns count, although the record has those of the imported
// CSV. When none of them has the key, returns key_header_count.
int get_row_value(int row, std::string_view key, fixed_text<64>& value);
