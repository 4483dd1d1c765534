// Key headers: the columns of the CSV files. They are not compiled in: the unit lists them in /etc/keys.txt.
//   key_header_table      the keys of that file in their order; mode 1
//   import_header_table   the accepted keys of an imported CSV's header line; any other mode
//   limits                128 keys a table, 63 bytes a key; keys may repeat
// A key with KEY_CLASS_EXCLUDED is not a column of key_header_table. Quirk: in a keys file with CR LF line
// ends the key still ends in its carriage return when it is classified, so there the excluded keys do become
// columns.

#pragma once

#include <string_view>

// The modes of the procedures below: which header table they use.
inline constexpr int discovery_mode = 1;
inline constexpr int import_mode = 2;

// ckht, create key header table: builds the mode's table from /etc/keys.txt and writes the CSV header line to
// the file at path: the keys joined by "," and ended by CR LF. Empty lines, keys over 63 bytes and keys after
// the 128th are left out of both, so that the line and the table always match. A header line that does not
// fit the disk is not written at all. Returns the number of keys. When one of the two files cannot be opened,
// returns 0 and leaves the tables unchanged; the file at path is emptied even when the keys file is missing.
int ckht(int mode, const char* path);

// akkh, add key to key header: appends a key, without a line end, to the mode's table. The import table takes
// only keys that ckv accepts. Returns the table's new size, 1 for the first key, or -1 when the key was not
// added.
int akkh(int mode, std::string_view key);

// ckv, check key valid: returns 1 when an import header may contain the key, else -1. It may when the key
// equals a key of key_header_table without regard to case, or is KEY_CLASS_EXCLUDED.
[[nodiscard]] int ckv(std::string_view key);
