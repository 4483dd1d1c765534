// Key headers: the columns of the CSV files. They are not compiled in; the unit lists them in /etc/keys.txt.
//   key_header_table      the keys of that file in file order; mode 1
//   import_header_table   the accepted keys of an imported CSV's header line; any other mode
//   limits                128 keys a table, 63 characters a key; no test for repeated keys
// A key with KEY_CLASS_EXCLUDED is no column. In a keys file with CR LF line ends the key still ends in a
// carriage return when that is decided, so there such keys do become columns.

#pragma once

#include <string_view>

// The header table that a procedure with a mode works on.
inline constexpr int discovery_mode = 1;
inline constexpr int import_mode = 2;

// ckht, create key header table: builds the mode's table from /etc/keys.txt and writes the CSV header line, the keys
// joined by "," and ended by CR LF, to the file at path. Returns the number of keys written, or 0 with the tables as
// they were when one of the files cannot be opened; the other one is opened, and so emptied, all the same. An empty
// line, a key over 63 characters and keys beyond the 128th are no columns: not written, not counted and not stored,
// so that the line and the table always line up. A header line that the disk does not take whole is left out.
int ckht(int mode, const char* path);

// akkh, add key to key header: adds a key, without a line end, to the mode's table. The import table takes a key only
// when ckv does. Returns the table's new size, 1 for the first key, or -1 when the key is not added.
int akkh(int mode, std::string_view key);

// ckv, check key valid: returns 1 when an import header may have the key: it equals, without regard to case, a key of
// key_header_table, or is KEY_CLASS_EXCLUDED. Else -1.
[[nodiscard]] int ckv(std::string_view key);
