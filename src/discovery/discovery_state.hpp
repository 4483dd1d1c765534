// The process-wide state of discovery: what exists once in a request. The working code takes column lists and
// record tables as parameters; the procedures with given names (ckht, kvp_parse_reply, wctf and so on) pass
// it these.

#pragma once

#include <netinet/in.h>

#include <array>
#include <cstdint>

#include "base/fixed_text.hpp"
#include "base/zeroed_array.hpp"
#include "discovery/column_list.hpp"
#include "discovery/record_table.hpp"

// The UDP socket of discovery, listing and update. -1 when closed, as at start. Written by
// open_discovery_socket and close_discovery_socket.
extern int discovery_socket;

// The discovery mode: 1 one-pass, 2 two-pass. 1 at start. Written by send_discovery_query.
extern int mcd_mode;

// The number of units found, listed or imported last, 0 at start. Written by compilation, collection, listing
// and import; shown in the summary of a discovery.
extern std::int32_t device_count;

// How many of the units found are encoders and decoders, 0 at start. Raised while answers are parsed, never
// reset: a request runs one discovery.
extern std::int32_t encoder_count;
extern std::int32_t decoder_count;

// The largest site: up to this many answers, senders or listed units are taken, and further ones are dropped.
inline constexpr int most_units = 2047;

// The senders recorded by the first pass, in network byte order. Cleared and filled by hsdr.
extern std::array<in_addr_t, most_units> node_addresses;

// The columns of the discovery CSV, from the unit's keys file, and those of an imported CSV. Empty at start.
// ckht and the import rebuild them, akkh appends the keys one by one.
extern column_list key_header_table;
extern column_list import_header_table;
// The number of columns in each.
inline int key_header_count() {
  return key_header_table.size();
}
inline int import_header_count() {
  return import_header_table.size();
}

// The device records (kvp: key value pairs). In a discovery: what each unit reports, under key_header_table.
// In an import: what the CSV sets, under import_header_table. Absent outside of these, and when memory ran
// out. Written by kvp_alloc, kvp_free, the one-pass collection, the parsing of answers, kvp_sort and
// load_import_csv; the checks before a mass update set its flags.
extern record_table kvp_table;

// The record that kvp_set_value and kvp_parse_reply fill; after an import the number of records. 0 at start.
extern int current_record;

// One discovered unit in the valid device table.
struct vdt_record {
  fixed_text<64> serial;
  fixed_text<64> address;
  fixed_text<64> unit_id;
  std::uint32_t flags = 0;  // set by the checks before a mass update (massupdate/checks.hpp)
};

// The valid device table: the units that a discovery found. It is absent outside of a compilation. A mass
// update runs after one, so its checks always find it absent and write that to the site log. Written by
// vdt_alloc, vdt_fill and vdt_free; the checks set its flags. vdt_count is its number of records and keeps
// its value after the release.
extern zeroed_pointer<vdt_record> vdt;
extern int vdt_count;
