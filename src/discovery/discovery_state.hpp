// The discovery folder's process-wide state: what one request has one of. The code that thinks takes lists and tables
// as parameters; the procedures with given names (ckht, kvp_parse_reply, wctf and the others) hand it these.

#pragma once

#include <netinet/in.h>

#include <array>
#include <cstdint>

#include "base/fixed_text.hpp"
#include "base/zeroed_array.hpp"
#include "discovery/column_list.hpp"
#include "discovery/record_table.hpp"

// The UDP socket of discovery, listing and update; -1 when closed, which it is at start.
// Written by open_discovery_socket and close_discovery_socket.
extern int discovery_socket;

// The discovery mode, 1 one-pass or 2 two-pass; 1 at start. Written by send_discovery_query.
extern int mcd_mode;

// The number of units found, listed or imported last; 0 at start. Written by compilation, collection, listing
// and import, and shown in the summary of a discovery.
extern std::int32_t device_count;

// How many of the units found are encoders and decoders; 0 at start. Raised while answers are read.
extern std::int32_t encoder_count;
extern std::int32_t decoder_count;

// The most units of one site: so many answers, senders or listed units are taken, and further ones are dropped.
inline constexpr int most_units = 2047;

// The senders of the first pass, in network byte order; cleared and filled by hsdr.
extern std::array<in_addr_t, most_units> node_addresses;

// The columns of the discovery CSV, from the unit's keys file, and those of an imported CSV. Empty at start. Built by
// ckht and by the import, key by key through akkh; while a list is built, the position that akkh fills next is its size.
extern column_list key_header_table;
extern column_list import_header_table;
inline int key_header_count() {
  return key_header_table.size();
}
inline int import_header_count() {
  return import_header_table.size();
}

// The device records (kvp: keys, values, pairs): what each unit reports under the columns of key_header_table, or what
// the imported CSV sets under those of import_header_table. Absent outside a compilation or import, and without memory.
// Written by kvp_alloc, kvp_free, the one-pass collection, the reading of answers, kvp_sort, load_import_csv and, as to
// flags, the checks before a mass update.
extern record_table kvp_table;

// The record that kvp_set_value and kvp_parse_reply fill, and after an import the number of records. 0 at start.
extern int current_record;

// One discovered unit in the valid device table.
struct vdt_record {
  fixed_text<64> serial;
  fixed_text<64> address;
  fixed_text<64> unit_id;
  std::uint32_t flags = 0;  // marks of the checks before a mass update, see massupdate/checks.hpp
};

// The valid device table: who was found by a discovery. It exists within a compilation only, so a mass update, which
// comes after one, never meets it: its checks find no table and say so in the site log. Written by vdt_alloc, vdt_fill,
// vdt_free and, as to flags, the checks.
extern zeroed_pointer<vdt_record> vdt;
extern int vdt_count;
