// Checks before an update: which units and which records share an identity (unit id, address or serial), and
// which discovered unit a record means. Texts are equal without regard to case; two empty ones are equal. What
// they find goes to the site log, nothing to the answer.
//   vdt_record::flags   0x01 a record has claimed the unit; 0x10, 0x20, 0x40 another unit has the same
//                       unit id, address, serial
//   duplicate_record    among the flags of every imported record that shares an identity
// The log reads as if every pair of records (i, j) was visited in both orders, for each i in turn, and j marked when the
// two are equal: a pair is logged when j is already marked at the time it is visited. The time is in proportion to the
// records and the logged lines, unless the texts were made to collide.

#pragma once

#include <string_view>

// Marks the units of the valid device table that share an identity.
void duplicate_check_vdt();

// Marks the imported records that share an identity. Only a record that holds the key takes part. Without
// memory for the check kvp_table is released: what is not checked is not sent.
void duplicate_check_kvp();

// Returns the first vdt record that has the serial, and claims it; -1 when none has it, the serial is empty or
// longer than 63 characters, or there is no table; -2 when the unit was claimed before; -3 when it shares its
// serial with another unit.
[[nodiscard]] int check_device_valid(std::string_view serial);
