// The discovery socket: one UDP socket that asks all units at once and hears their answers.
//   sends to   the discovery group 226.0.0.19, or one unit, port 8000; joins no group itself
//   bound to   a port that the system picks; units answer to it
//   receives   wait at most 100 ms, then fail with EAGAIN
//   settings   read with qelparam: UNIT.MCD_TTL, 1 to 255, else 64; UNIT.MCD_MODE, 1 or 2, else as it was
//   logs       "Using TTL %d" in /tmp/MCt.log, "Using Mode %d" in /tmp/MCm.log, one line each

#pragma once

#include <netinet/in.h>

#include <chrono>

inline constexpr std::chrono::milliseconds receive_timeout{100};

// Opens and sets up discovery_socket. Returns its descriptor; 0 when no socket could be created; -1 when it
// could not be bound, and it is then open all the same: the system binds it with the first send. Callers take
// every result but 0 for success.
[[nodiscard]] int open_discovery_socket();

// Reads mcd_mode and sends two datagrams to the group: the query addressed to no unit, then the query of the
// mode. Needs discovery_socket. Returns the second one's length, or -1, which callers take for success too.
[[nodiscard]] int send_discovery_query();

// suq, send unicast query: sends the full query to one unit, at an address in network byte order. Returns its
// length, or -1 with a line in /tmp/MCb.log.
int suq(in_addr_t address);

// Closes discovery_socket if it is open. Returns the value that it held.
int close_discovery_socket();

// Opens the discovery socket for the length of one command.
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
