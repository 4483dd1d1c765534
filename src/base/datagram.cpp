#include "base/datagram.hpp"

#include <arpa/inet.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "base/clock.hpp"

sockaddr_in datagram_address(const char* dotted, std::uint16_t port) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(port);
  inet_aton(dotted, &address.sin_addr);
  return address;
}

int open_datagram_socket() {
  return socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
}

void close_datagram_socket(int socket) {
  close(socket);
}

int bind_any_port(int socket) {
  const sockaddr_in any = datagram_address("0.0.0.0", 0);
  return bind(socket, reinterpret_cast<const sockaddr*>(&any), sizeof any);
}

int set_receive_timeout(int socket, std::chrono::microseconds timeout) {
  const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(timeout);
  timeval wait{};
  wait.tv_sec = seconds.count();
  wait.tv_usec = static_cast<decltype(wait.tv_usec)>((timeout - seconds).count());
  return setsockopt(socket, SOL_SOCKET, SO_RCVTIMEO, &wait, sizeof wait);
}

void set_multicast_ttl(int socket, std::uint8_t ttl) {
  setsockopt(socket, IPPROTO_IP, IP_MULTICAST_TTL, &ttl, sizeof ttl);
}

void set_receive_buffer(int socket, int bytes) {
  if (setsockopt(socket, SOL_SOCKET, SO_RCVBUFFORCE, &bytes, sizeof bytes) == 0) return;
  setsockopt(socket, SOL_SOCKET, SO_RCVBUF, &bytes, sizeof bytes);
}

int send_datagram(int socket, std::string_view text, const sockaddr_in& address) {
  ssize_t sent = 0;
  do {
    sent = sendto(socket, text.data(), text.size(), 0, reinterpret_cast<const sockaddr*>(&address),
                  sizeof address);
  } while (sent < 0 && errno == EINTR);
  return static_cast<int>(sent);
}

namespace {

ssize_t receive(int socket, std::span<char> buffer, sockaddr_in* sender, int flags) {
  socklen_t size = sizeof *sender;
  return recvfrom(socket, buffer.data(), buffer.size() - 1, flags, reinterpret_cast<sockaddr*>(sender),
                  sender != nullptr ? &size : nullptr);
}

// Waits for a datagram until the socket's receive time-out, counted from `start`, has passed. Returns false
// with errno set when poll was interrupted or failed.
bool wait_for_rest(int socket, std::chrono::milliseconds start) {
  timeval timeout{};
  socklen_t size = sizeof timeout;
  getsockopt(socket, SOL_SOCKET, SO_RCVTIMEO, &timeout, &size);
  // Rounded up: a time-out below 1 ms must not become 0, which means no limit.
  const std::chrono::milliseconds whole =
      std::chrono::seconds{timeout.tv_sec} + std::chrono::milliseconds{(timeout.tv_usec + 999) / 1000};
  const auto left = std::max(start + whole - steady_time(), std::chrono::milliseconds{0});
  pollfd readable{socket, POLLIN, 0};
  // No limit is 0 for SO_RCVTIMEO and -1 for poll.
  return poll(&readable, 1, whole.count() == 0 ? -1 : static_cast<int>(left.count())) >= 0;
}

}  // namespace

int receive_datagram(int socket, std::span<char> buffer, sockaddr_in* sender) {
  std::ranges::fill(buffer, '\0');
  const std::chrono::milliseconds start = steady_time();
  ssize_t length = receive(socket, buffer, sender, 0);
  // The kernel restarts SO_RCVTIMEO from zero with every recvfrom. A signal that comes again and again would
  // keep it from ever expiring, so after an interruption poll waits for the rest and recvfrom only fetches.
  while (length < 0 && errno == EINTR) {
    if (!wait_for_rest(socket, start)) continue;
    errno = 0;
    length = receive(socket, buffer, sender, MSG_DONTWAIT);
  }
  return static_cast<int>(length);
}
