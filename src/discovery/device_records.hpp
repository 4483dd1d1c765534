// Device records: one unit's values, laid out parallel to a key header table.

#pragma once

#include <string_view>

// The header table that a record is filled under.
inline constexpr int discovery_mode = 1;
inline constexpr int import_mode = 2;

// Allocate the zeroed tables for device_count records; without memory the table stays absent, and nothing is
// stored. kvp_alloc makes current_record 0 in every case.
void kvp_alloc();
void vdt_alloc();
void kvp_free();
void vdt_free();

// Stores one value of unit current_record in the first slot whose key equals the given one, with letter case.
// A value that is empty or longer than 63 characters leaves the slot's value as it was. In mode 1 the serial,
// the address and the id of the unit also go to its vdt record. Returns the slot, or -1 when nothing was
// stored: an unknown, empty or too long key, or no table.
int kvp_set_value(int mode, std::string_view key, std::string_view value);
