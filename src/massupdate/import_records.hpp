// Imported records: what a record of kvp_table says about its unit besides its values.

#pragma once

#include <cstdint>
#include <string_view>

#include "base/fixed_text.hpp"
#include "discovery/discovery_state.hpp"

// The bits of record_flags. Both kinds may be set, when two columns name two models.
inline constexpr std::uint16_t duplicate_record = 0x04;  // shares an identity with another record: never sent
inline constexpr std::uint16_t encoder_record = 0x10;
inline constexpr std::uint16_t decoder_record = 0x20;
inline constexpr std::uint16_t wallplate_record = 0x100;
inline constexpr std::uint16_t second_gen_record = 0x200;

// Returns the first of the record's first `count` slots that bears the key, without regard to case, or `count`
// when none does.
[[nodiscard]] int find_slot(const kvp_record& record, int count, std::string_view key);

// Copies the value of record `row` for the key, empty when there is none, and returns its slot. Only the first
// key_header_count slots are looked at, although the record has the columns of the imported CSV; that number
// is returned when none of them bears the key.
int get_row_value(int row, std::string_view key, fixed_text<64>& value);
