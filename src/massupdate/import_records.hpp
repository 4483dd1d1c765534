// Imported records: what a record of kvp_table says about its unit besides its values.

#pragma once

#include <cstdint>
#include <string_view>

#include "base/fixed_text.hpp"
#include "discovery/column_list.hpp"
#include "discovery/record_table.hpp"

// The bits of record_flags, the flags of a record. Both kinds may be set, when two columns name two models.
inline constexpr std::uint16_t duplicate_record = 0x04;  // shares an identity with another record: never sent
inline constexpr std::uint16_t encoder_record = 0x10;
inline constexpr std::uint16_t decoder_record = 0x20;
inline constexpr std::uint16_t wallplate_record = 0x100;
inline constexpr std::uint16_t second_gen_record = 0x200;

// The first of the columns whose key is this one, without regard to case, and whose cell the record holds; none when
// there is none. A caller with many records finds the first column with the key once, and hands it in.
[[nodiscard]] int find_cell(const column_list& columns, const record_table& records, int row,
                            std::string_view key);
[[nodiscard]] int find_cell(const column_list& columns, const record_table& records, int row,
                            std::string_view key, int first_column);

// Copies the value of record `row` of kvp_table for the key, empty when there is none, and returns its column. Only the
// first key_header_count columns are looked at, although the record has the columns of the imported CSV; that number
// is returned when none of them has the key.
int get_row_value(int row, std::string_view key, fixed_text<64>& value);
