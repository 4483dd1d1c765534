// CSV compilation: turns the collected answers into the files that the web page shows.
//   /tmp/discover.csv    after the header line that ckht wrote, a line for each unit, ordered by the first column
//   /tmp/discover.info   Total=%d&Ecount=%d&Dcount=%d~~~
//   /tmp/encoders.csv    the lines of discover.csv that contain a model name of an older list of encoders
//   /tmp/decoders.csv    those that contain one of a decoder

#pragma once

#include "discovery/column_list.hpp"
#include "discovery/record_table.hpp"

// cr, compile replies: compiles node files 0 to count - 1 in the two-pass mode; a missing one is an empty answer. A
// count below 1 writes only its log line. The node files are listed in /tmp/discover.last, then deleted. Returns 0.
int cr(int count);

// What both modes share once the answers are read: orders kvp_table, writes the files and releases the tables.
// Without memory for the records the CSV keeps its header line alone; the units are counted all the same.
void compile_records();

// kvp_sort: orders kvp_table by the first column, as unsigned bytes, an empty value first. Of records with the same
// value the first stays; as many empty records end the table.
void kvp_sort();

// wctf, write CSV to file: appends a line for each record of kvp_table to the file at path, as many as a full disk takes
// whole. A value with a comma is put in double quotes; double quotes inside it are not escaped. Returns 0.
int wctf(const char* path);

// The same for any table under its columns.
void append_csv_lines(const char* path, const column_list& columns, const record_table& records);
