#include "discovery/discovery_state.hpp"

constinit int discovery_socket = -1;
constinit int mcd_mode = 1;
constinit std::int32_t device_count = 0;
constinit std::int32_t encoder_count = 0;
constinit std::int32_t decoder_count = 0;

constinit std::array<in_addr_t, most_units> node_addresses{};

constinit column_list key_header_table{};
constinit column_list import_header_table{};

constinit record_table kvp_table;
constinit int current_record = 0;
constinit zeroed_pointer<vdt_record> vdt;
constinit int vdt_count = 0;
