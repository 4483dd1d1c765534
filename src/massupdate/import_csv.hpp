// CSV import: reads the imported CSV into device records, and on request configures their units.
//   header line   keys; one that akkh refuses gets no slot, and the cells of its column are dropped
//   data lines    a record each, an empty line too; lines may be of any length, the first 128 columns count
//   cells         between commas; of at most 63 characters: a longer one is not stored, so that no unit is ever
//                 sent a cut value; an empty one stores nothing
//   quotes        enclose a cell that holds a comma, and only such a one, when another cell follows; a quoted
//                 cell without a comma stores nothing; a doubled quote is no special one
//   zero byte     in a line: a record that stores nothing; in a header field: the field is refused
//   last cell     taken as it stands, quotes included; an empty one stores its key; its model is not looked at

#pragma once

// Reads the file at path into kvp_table, a record each data line, under the keys that ckht found, and marks each
// record with the kind of its model. A file that cannot be opened holds no records. Without memory the lines are
// counted all the same, but kvp_table stays absent.
// Returns the number of data lines, which device_count and current_record then hold too.
int load_import_csv(const char* path);

// Does that, hands the records to send_csv_to_devices when the flag is above 0, and releases them.
// Returns the number of data lines.
int read_import_csv(const char* path, int flag);
