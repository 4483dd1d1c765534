// The one socket of the whole fleet: UDP port 8000 on every address of the machine, in the group 226.0.0.19
// on one interface. It sees which address a request was sent to, and chooses the source address of an answer.
// So one process can simulate any number of units.
#pragma once

#include <netinet/in.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace fleet {

inline constexpr std::uint16_t api_port = 8000;
inline constexpr std::uint32_t discovery_group = 0xe2000013;  // 226.0.0.19

// A request as it came.
struct received_datagram {
  sockaddr_in from;
  std::uint32_t to;  // destination address of the datagram, in host order
  std::string text;
};

// An answer to send.
struct datagram {
  sockaddr_in to;
  std::uint32_t from;  // source address in host order; 0 lets the kernel choose
  std::string text;
};

class network {
 public:
  network() = default;
  network(const network&) = delete;
  network& operator=(const network&) = delete;
  ~network();

  // Opens the socket and joins the group. Returns false with errno set when that is not possible.
  [[nodiscard]] bool open(const char* interface);
  // Returns the next waiting datagram, or nothing. Does not block.
  [[nodiscard]] std::optional<received_datagram> receive();
  // Sends a datagram. Returns false when the kernel refuses it, as for a source address that the box does not
  // have.
  [[nodiscard]] bool send(const datagram& outgoing);

  [[nodiscard]] int descriptor() const { return descriptor_; }

 private:
  int descriptor_ = -1;
  std::vector<char> buffer_ = std::vector<char>(65'536);  // longer than any datagram
};

}  // namespace fleet
