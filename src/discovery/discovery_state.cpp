#include "discovery/discovery_state.hpp"

constinit int discovery_socket = -1;
constinit int mcd_mode = 1;
constinit std::int32_t device_count = 0;
constinit std::int32_t encoder_count = 0;
constinit std::int32_t decoder_count = 0;

constinit std::array<in_addr_t, most_units> node_addresses{};
constinit std::array<std::uint8_t, most_units + 1> node_datagrams{};

constinit std::array<key_header_entry, header_slots> key_header_table{};
constinit int key_header_count = 0;
constinit int key_header_fill = 0;
constinit bool key_header_repeats = false;
constinit std::array<key_header_entry, header_slots> import_header_table{};
constinit int import_header_count = 0;
constinit int import_header_fill = 0;

constinit zeroed_pointer<kvp_record> kvp_table;
constinit int current_record = 0;
constinit zeroed_pointer<vdt_record> vdt;
constinit int vdt_count = 0;
