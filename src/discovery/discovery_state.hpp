// The discovery folder's process-wide state.

#pragma once

#include <cstdint>

// The UDP socket of discovery, listing and update; -1 when closed, which it is at start.
// Written by open_discovery_socket and close_discovery_socket.
extern int discovery_socket;

// The discovery mode, 1 one-pass or 2 two-pass; 1 at start. Written by send_discovery_query.
extern int mcd_mode;

// The number of units found, listed or imported last; 0 at start. Written by the device listing.
extern std::int32_t device_count;
