// Settings that a unit reports under one key and takes under another. The unit's model does not matter for
// them. script/build writes them into the console's catalogue, too.

#pragma once

#include <algorithm>
#include <array>
#include <string_view>

struct rename_row {
  std::string_view record_key;
  std::string_view sent_as;
};

inline constexpr auto rename_table = std::to_array<rename_row>({
    {"IP.STATIC_ADDRESS", "IP.ADDRESS"},
    {"IP.STATIC_NETMASK", "IP.NETMASK"},
    {"IP.STATIC_GATEWAY", "IP.GATEWAY"},
    {"IP.STATIC_DNS_SERVER", "IP.DNS_SERVER"},
    {"UNIT.ID", "UNIT.SET_ID"},
    {"DANTE.DEVICE_NAME", "DANTE.SET_DEVICE_NAME"},
});
static_assert(std::ranges::all_of(rename_table,
                                  [](const rename_row& row) { return row.sent_as.size() < 64; }));
