// CSV compilation: turns the collected answers into the files that the web page shows.
//   /tmp/discover.csv    a line for each unit after the header line from ckht, ordered by the first column
//   /tmp/discover.info   Total=%d&Ecount=%d&Dcount=%d~~~
//   /tmp/encoders.csv    the lines of discover.csv with one of 9 of the 12 encoder models, a list of its own
//   /tmp/decoders.csv    the same with the decoder models

#pragma once

#include "discovery/column_list.hpp"
#include "discovery/record_table.hpp"

// cr, compile replies: compiles node files 0 to count - 1 in the two-pass mode. A missing file is an empty
// answer. Lists the node files in /tmp/discover.last and deletes them. With a count below 1 it only logs.
// Returns 0.
int cr(int count);

// The steps that both modes share once kvp_table is filled: orders it, writes the files and releases the
// tables. Without memory for the records the CSV has its header line alone; the units are counted all the
// same.
void compile_records();

// kvp_sort: orders kvp_table by the first column, compared as unsigned bytes, empty values first. Of records
// with equal first values only the first stays; an empty record at the end replaces each of the others.
void kvp_sort();

// wctf, write CSV to file: appends a line for each record of kvp_table to the file at path, as many complete
// lines as the disk takes. A value that contains a comma is put in double quotes; double quotes in a value
// are not escaped. Returns 0.
int wctf(const char* path);

// The same for any table and its columns.
void append_csv_lines(const char* path, const column_list& columns, const record_table& records);
