// UDP sockets. No other file of the program calls socket(). IPv4 only, as the device API is.

#pragma once

#include <netinet/in.h>

#include <chrono>
#include <cstdint>
#include <span>
#include <string_view>

// The socket address of a dotted IPv4 address and a port in host byte order. A text that inet_aton refuses
// gives 0.0.0.0.
[[nodiscard]] sockaddr_in datagram_address(const char* dotted, std::uint16_t port);

// Creates a UDP socket with the close-on-exec flag. Returns its fd, or -1 with errno set.
[[nodiscard]] int open_datagram_socket();
// Closes the socket.
void close_datagram_socket(int socket);

// Binds the socket to all addresses of the unit and a port that the kernel picks. Returns 0, or -1 with errno
// set.
[[nodiscard]] int bind_any_port(int socket);

// Limits every receive to this time, after which it fails with EAGAIN. Returns 0, or -1 with errno set.
int set_receive_timeout(int socket, std::chrono::microseconds timeout);

// Sets the TTL of multicast datagrams. A failure is ignored: the kernel's TTL of 1 stays.
void set_multicast_ttl(int socket, std::uint8_t ttl);

// Asks for a receive buffer of that many bytes. With CAP_NET_ADMIN the kernel grants it beyond
// net.core.rmem_max, otherwise up to that limit.
void set_receive_buffer(int socket, int bytes);

// Sends the text as one datagram, without a terminating zero byte. Returns the number of bytes sent, or -1
// with errno set.
int send_datagram(int socket, std::string_view text, const sockaddr_in& address);

// Clears the buffer and receives one datagram of at most buffer.size() - 1 bytes into it, so that its text is
// always terminated; the kernel drops what does not fit. Returns the length, 0 for an empty datagram, or -1
// with errno set. A receive that a signal interrupts continues with the rest of its time-out. Stores the
// sender's address in `sender` unless that is null.
[[nodiscard]] int receive_datagram(int socket, std::span<char> buffer, sockaddr_in* sender = nullptr);
