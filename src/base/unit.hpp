// The unit's names: paths, tools, ports and addresses that more than one place needs.

#pragma once

#include <cstdint>

namespace unit {

inline constexpr const char* tool_folder = "/usr/local/bin";
// For a web server that starts us without a PATH: the order that Linux systems use.
inline constexpr const char* default_path = "/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin";

inline constexpr const char* stop_link = "/usr/local/bin/ast_send_event -1 e_stop_link > /dev/null 2>&1";

// The device API: every unit listens on this port, and on this group for queries to all of them.
inline constexpr std::uint16_t api_port = 8000;
inline constexpr const char* discovery_group = "226.0.0.19";

// Uploads arrive here; the name is no other program's.
inline constexpr const char* upload_files = "/dev/shm/cgicXXXXXX";

inline constexpr const char* keys_file = "/etc/keys.txt";
inline constexpr const char* discover_csv = "/tmp/discover.csv";
inline constexpr const char* discover_info = "/tmp/discover.info";
inline constexpr const char* import_csv = "/tmp/import.csv";

inline constexpr const char* site_log = "/tmp/site.log";

}  // namespace unit
