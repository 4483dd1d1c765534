// The discovery socket: the UDP socket that queries all units at once and receives their answers.
//   sends to   the discovery group 226.0.0.19 or one unit, port 8000; joins no group itself
//   bound to   a port that the kernel picks; units answer to it
//   receive    waits at most 100 ms, then fails with EAGAIN
//   settings   read with qelparam: UNIT.MCD_TTL, 1 to 255, else 64; UNIT.MCD_MODE, 1 or 2, else unchanged
//   logs       "Using TTL %d" in /tmp/MCt.log, "Using Mode %d" in /tmp/MCm.log, one line each

#pragma once

#include <netinet/in.h>

#include <chrono>

// How long a receive waits for a datagram.
inline constexpr std::chrono::milliseconds receive_timeout{100};

// Opens and configures discovery_socket. Returns its fd; 0 when no socket could be created; -1 when it could
// not be bound. In that case it is open and configured all the same, and the kernel binds it with the first
// send. Callers take every result but 0 for success.
[[nodiscard]] int open_discovery_socket();

// Reads mcd_mode from the unit's settings and sends two datagrams to the group: query_none, then the query of
// the mode. Needs an open discovery_socket. Returns the length of the second datagram, or -1, which callers
// take for success too.
[[nodiscard]] int send_discovery_query();

// suq, send unicast query: sends query_all to one unit. The address is in network byte order. Returns the
// length sent, or -1 with a line in /tmp/MCb.log.
int suq(in_addr_t address);

// Closes discovery_socket if it is open. Returns the value it had before.
int close_discovery_socket();

// Keeps the discovery socket open while in scope. False when no socket could be created.
class discovery_session {
 public:
  discovery_session() : open_(open_discovery_socket() != 0) {}
  discovery_session(const discovery_session&) = delete;
  discovery_session& operator=(const discovery_session&) = delete;
  ~discovery_session() { close_discovery_socket(); }

  [[nodiscard]] explicit operator bool() const { return open_; }

 private:
  bool open_;
};
