// The one socket of the whole fleet: UDP port 8000 of every address of the machine, in the group 226.0.0.19 on
// one interface. It sees which address a request was sent to and chooses the address that an answer
// comes from, so one process plays any number of units.
#pragma once

#include <netinet/in.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace fleet {

inline constexpr std::uint16_t api_port = 8000;
inline constexpr std::uint32_t discovery_group = 0xe2000013;  // 226.0.0.19

struct received_datagram {
  sockaddr_in from;
  std::uint32_t to;  // address in the datagram's header, in host order
  std::string text;
};

struct datagram {
  sockaddr_in to;
  std::uint32_t from;  // in host order; 0 lets the system choose
  std::string text;
};

class network {
 public:
  network() = default;
  network(const network&) = delete;
  network& operator=(const network&) = delete;
  ~network();

  // Joins the group on `interface`. Returns false when there is no such socket to be had; errno says why.
  [[nodiscard]] bool open(const char* interface);
  // Returns a waiting datagram, or nothing.
  [[nodiscard]] std::optional<received_datagram> receive();
  // Returns false when the system refused it, as it does for a sender's address that is not the box's own.
  [[nodiscard]] bool send(const datagram& outgoing);

  [[nodiscard]] int descriptor() const { return descriptor_; }

 private:
  int descriptor_ = -1;
  std::vector<char> buffer_ = std::vector<char>(65'536);  // longer than any datagram
};

}  // namespace fleet
