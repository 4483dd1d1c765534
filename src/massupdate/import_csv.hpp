// CSV import: reads the imported CSV into device records and, on request, configures their units.
//   header line   keys; a key that akkh refuses has no column, and its cells are dropped
//   data lines    a record each, also an empty line; of any length; the first 128 cells count
//   cells         separated by commas; an empty one stores nothing, and so does one over 63 bytes, as no unit
//                 may be sent a cut value
//   quotes        enclose a cell that contains a comma; a cell that starts with a quote and has no comma
//                 between its quotes stores nothing; a doubled quote is not special
//   last cell     taken literally, with its quotes; an empty one counts as set; its model is not looked at
//   zero byte     in a line: the record stores nothing; in a header cell: the key is refused

#pragma once

// Reads the file at path into kvp_table, a record for each data line, under those keys of its
// header line that akkh accepts, so ckht must have read the unit's own keys. Marks each record with the kind
// of its model. A file that cannot be opened has no records. Without memory the lines are counted, but
// kvp_table is absent. Returns the number of data lines and stores it in device_count and current_record.
int load_import_csv(const char* path);

// Loads the CSV, passes the records to send_csv_to_devices when the flag is above 0, and releases them.
// Returns the number of data lines.
int read_import_csv(const char* path, int flag);
