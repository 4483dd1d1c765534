#include "address.hpp"

#include <arpa/inet.h>

namespace fleet {

std::optional<std::uint32_t> read_address(std::string_view text) {
  in_addr address{};
  if (text.find('\0') != std::string_view::npos) return std::nullopt;
  if (inet_pton(AF_INET, std::string{text}.c_str(), &address) != 1) return std::nullopt;
  return ntohl(address.s_addr);
}

std::string address_text(std::uint32_t address) {
  const in_addr network_order{htonl(address)};
  char text[INET_ADDRSTRLEN] = "";
  inet_ntop(AF_INET, &network_order, text, sizeof text);
  return text;
}

bool is_multicast(std::uint32_t address) {
  return address >> 28U == 0xe;
}

}  // namespace fleet
