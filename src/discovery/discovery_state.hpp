// The discovery folder's process-wide state.

#pragma once

#include <netinet/in.h>

#include <array>
#include <cstddef>
#include <cstdint>

#include "base/fixed_text.hpp"
#include "base/zeroed_array.hpp"

// The UDP socket of discovery, listing and update; -1 when closed, which it is at start.
// Written by open_discovery_socket and close_discovery_socket.
extern int discovery_socket;

// The discovery mode, 1 one-pass or 2 two-pass; 1 at start. Written by send_discovery_query.
extern int mcd_mode;

// The number of units found, listed or imported last; 0 at start. Written by compilation, collection, listing
// and import. The record tables are allocated for that many records.
extern std::int32_t device_count;

// How many of the units found are encoders and decoders; 0 at start. Raised by kvp_parse_reply.
extern std::int32_t encoder_count;
extern std::int32_t decoder_count;

// The most units of one site.
inline constexpr std::size_t most_units = 2047;

// The most datagrams that one pass of a discovery takes from one unit; further ones are a flood: read and dropped.
inline constexpr int most_datagrams_of_a_unit = 255;

// The senders of the first pass, in network byte order; cleared and filled by hsdr.
extern std::array<in_addr_t, most_units> node_addresses;

// How many datagrams each of them has sent in the pass that runs, at most most_datagrams_of_a_unit, counted at the
// sender's first place; the last one is for all other senders. Cleared by hsdr, counted there and in the second pass.
extern std::array<std::uint8_t, most_units + 1> node_datagrams;

inline constexpr std::size_t header_slots = 128;
inline constexpr std::size_t key_size = 64;

// A slot of a header table or of a device record.
struct key_header_entry {
  fixed_text<key_size> key;
  fixed_text<key_size> value;   // in a device record: what the unit reports for the key
  std::uint16_t class_set = 0;  // the key's classes, see key_catalogue.hpp
  std::uint16_t status = 0;     // in a device record: marks of the duplicate checks
};

// The columns of the CSV files, and of an imported CSV. `count` slots are valid; `fill` is the one filled
// next. Empty at start; written by ckht and akkh.
extern std::array<key_header_entry, header_slots> key_header_table;
extern int key_header_count;
extern int key_header_fill;
extern bool key_header_repeats;  // whether a key stands in it twice
extern std::array<key_header_entry, header_slots> import_header_table;
extern int import_header_count;
extern int import_header_fill;

// One unit's values. Slot i belongs to key i of the header table that filled the record; what the unit does
// not report stays zero.
struct kvp_record {
  std::array<key_header_entry, header_slots> slots;
  std::uint16_t record_flags = 0;  // of an imported record, see massupdate/import_records.hpp
};

// The device records, device_count of them, and the one that kvp_set_value fills. Null outside a compilation
// or import. Written by kvp_alloc, kvp_free, kvp_parse_reply, kvp_set_value, kvp_sort, load_import_csv and, as to marks,
// the checks before a mass update.
extern zeroed_pointer<kvp_record> kvp_table;
extern int current_record;

// One discovered unit in the valid device table.
struct vdt_record {
  fixed_text<64> serial;
  fixed_text<64> address;
  fixed_text<64> unit_id;
  std::uint32_t flags = 0;  // marks of the checks before a mass update, see massupdate/checks.hpp
};

// The valid device table, parallel to kvp_table. Written by vdt_alloc, vdt_free, kvp_set_value and, as to
// flags, the checks before a mass update.
extern zeroed_pointer<vdt_record> vdt;
extern int vdt_count;
