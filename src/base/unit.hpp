// The unit's paths, tools, ports and addresses that more than one file needs.

#pragma once

#include <cstdint>

namespace unit {

// The folder of the unit's own tools.
inline constexpr const char* tool_folder = "/usr/local/bin";
// PATH when the web server sets none: the order that Linux systems use.
inline constexpr const char* default_path = "/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin";

// Stops the unit's video link.
inline constexpr const char* stop_link = "/usr/local/bin/ast_send_event -1 e_stop_link > /dev/null 2>&1";

// The device API. Every unit listens on this UDP port, and joins this group for queries to all of them.
inline constexpr std::uint16_t api_port = 8000;
inline constexpr const char* discovery_group = "226.0.0.19";

// The pattern of the temporary files of uploads. No other program uses this name.
inline constexpr const char* upload_files = "/dev/shm/cgicXXXXXX";

// The keys of the CSV columns, one a line.
inline constexpr const char* keys_file = "/etc/keys.txt";
// The result of the last discovery: the CSV of the units, and the line with their numbers.
inline constexpr const char* discover_csv = "/tmp/discover.csv";
inline constexpr const char* discover_info = "/tmp/discover.info";
// The CSV that was uploaded last.
inline constexpr const char* import_csv = "/tmp/import.csv";

// The log of a mass update, which the web page shows.
inline constexpr const char* site_log = "/tmp/site.log";

}  // namespace unit
