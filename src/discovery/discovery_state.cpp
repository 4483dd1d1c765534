#include "discovery/discovery_state.hpp"

constinit int discovery_socket = -1;
constinit int mcd_mode = 1;
constinit std::int32_t device_count = 0;
