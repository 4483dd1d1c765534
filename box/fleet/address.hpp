// IPv4 addresses as 32-bit numbers in host byte order: the first octet is the highest byte.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace fleet {

inline constexpr std::uint32_t loopback_address = 0x7f000001;  // 127.0.0.1

// Returns the address, or nothing when `text` is not four decimal octets joined by dots.
[[nodiscard]] std::optional<std::uint32_t> read_address(std::string_view text);

// Returns the address in dotted form.
[[nodiscard]] std::string address_text(std::uint32_t address);

// True for 224.0.0.0 to 239.255.255.255.
[[nodiscard]] bool is_multicast(std::uint32_t address);

}  // namespace fleet
