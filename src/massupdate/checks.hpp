// Checks before an update: which units and which records share an identity (unit id, address or serial), and
// which discovered unit a record means. Texts are equal without regard to case; two empty ones are equal. What
// they find goes to the site log, nothing to the answer.
//   vdt_record::flags          0x01 a record has claimed the unit; 0x10, 0x20, 0x40 another unit has the same
//                              unit id, address, serial
//   key_header_entry::status   0x10, 0x20, 0x40 in the slot of UNIT.ID, IP.ADDRESS, UNIT.SERIAL: another
//                              record has the same value
//   duplicate_record           in the record_flags of every record that bears such a mark
// Every pair of records is visited in both orders, and a pair is logged whenever its second record bears a mark
// by then. The time is in proportion to the records and the logged lines, unless the texts were made to collide.

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
