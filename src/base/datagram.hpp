// Datagrams: the one door to UDP sockets. IPv4 only, as the device API is.

#pragma once

#include <netinet/in.h>

#include <chrono>
#include <cstdint>
#include <span>
#include <string_view>

// An address and port to send to. Both as a person writes them; the address must be a dotted one.
[[nodiscard]] sockaddr_in datagram_address(const char* dotted, std::uint16_t port);

// Creates a socket that children do not inherit. Returns its descriptor, or -1.
[[nodiscard]] int open_datagram_socket();
void close_datagram_socket(int socket);

// Binds the socket to every address of the unit and a port that the system picks. Returns 0 or -1.
[[nodiscard]] int bind_any_port(int socket);

// Makes every receive wait at most this long, then fail with EAGAIN. Returns 0, or -1 with errno set.
int set_receive_timeout(int socket, std::chrono::microseconds timeout);

void set_multicast_ttl(int socket, std::uint8_t ttl);

// Asks for a receive buffer of that many bytes: beyond the system's limit where we may, up to it elsewhere.
void set_receive_buffer(int socket, int bytes);

// Sends the text, without a terminator, as one datagram. Returns its length, or -1 with errno set.
int send_datagram(int socket, std::string_view text, const sockaddr_in& address);

// Receives one datagram of at most buffer.size() - 1 bytes into the cleared buffer, so that its text is
// always terminated; what does not fit is dropped. Returns its length (0 for an empty datagram), or -1 with
// errno set. A receive that a signal interrupts goes on for what is left of its time. The sender goes to
// `sender` if one is given.
[[nodiscard]] int receive_datagram(int socket, std::span<char> buffer, sockaddr_in* sender = nullptr);
