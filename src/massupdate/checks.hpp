// Checks before a mass update: which units and which records share an identity (unit id, address or serial),
// and which discovered unit a record belongs to. Texts are compared without regard to case; two empty ones
// are equal. The findings go to the site log, none to the answer.
//   vdt_record::flags   0x01 a record has claimed the unit; 0x10, 0x20, 0x40 another unit has the same unit
//                       id, address, serial
//   duplicate_record    in the flags of every imported record that shares an identity
// The log is that of a loop which visits every pair of records (i, j), all j for each i in turn, and marks j
// when the two are equal. A pair (i, j) is logged when j is already marked at the time it is visited:
//
//     records   0 "a"   1 "b"   2 "a"
//     i = 0     (0,2) marks 2, and is logged
//     i = 1     (1,2) is logged, as 2 is marked
//     i = 2     (2,0) marks 0, and is logged
//
// The checks hash the texts instead of comparing every pair. Their time grows with the number of records and
// of logged lines, unless somebody makes the texts collide.

#pragma once

#include <string_view>

// Marks the units of the valid device table that share an identity. Logs that it was skipped when there is no
// table.
void duplicate_check_vdt();

// Marks the imported records that share an identity. A record takes part with the keys that it has. Without
// memory it releases kvp_table: what was not checked is not sent.
void duplicate_check_kvp();

// Finds the vdt record with this serial and claims it. Returns its index; -1 when there is none, the serial
// is empty or longer than 63 bytes, or there is no table; -2 when another record has claimed it; -3 when
// several units have this serial.
[[nodiscard]] int check_device_valid(std::string_view serial);
