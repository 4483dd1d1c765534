// CSV compilation: turns the collected answers into the files that the web page shows.
//   /tmp/discover.csv    a data line a unit behind the header line that ckht wrote, ordered by the first column
//   /tmp/discover.info   Total=%d&Ecount=%d&Dcount=%d~~~
//   /tmp/encoders.csv    the lines of discover.csv that hold a model name of an older list of encoders
//   /tmp/decoders.csv    those that hold one of a decoder
// Each answer lies in a node file /tmp/node_N; the text of its first 2048 bytes counts.

#pragma once

#include <string_view>

// Compiles node files 0 to count - 1 in the two-pass mode. A count below 1 writes only
// its log line. The node files are listed in /tmp/discover.last, then deleted. Returns 0.
int cr(int count);

// What both modes share: compiles node files 0 to device_count - 1. A missing node file is an empty answer.
// Without memory for the record tables the CSV keeps its header line alone; the units are counted all the
// same.
void compile_node_files();

// Fills record current_record from one answer and goes on to the next record; counts the unit as an encoder
// or a decoder. Returns the number of segments that an "&" ends.
int kvp_parse_reply(std::string_view text);

// Orders kvp_table by the first column, as unsigned bytes, an empty value first. Of records with the same
// value the first stays; as many empty records end the table.
void kvp_sort();

// Appends a line for each record to the file at path, or none where a full disk does not take them all. A
// value with a comma stands in double quotes; double quotes inside it are not escaped. Returns 0.
int wctf(const char* path);
