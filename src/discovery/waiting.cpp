#include "discovery/waiting.hpp"

#include <cerrno>

#include "base/datagram.hpp"
#include "base/element.hpp"
#include "discovery/discovery_state.hpp"

bool arrival::timed_out() const {
  return length == -1 && error == EAGAIN;
}

arrival await_datagram(std::span<char> buffer) {
  arrival got;
  errno = 0;
  got.length = receive_datagram(discovery_socket, buffer, &got.sender);
  got.error = errno;
  return got;
}

int sender_budget::find(in_addr_t sender) const {
  return found_[place_of(sender)] - 1;
}

int sender_budget::add(in_addr_t sender) {
  if (size_ == most_units) return none;
  found_[place_of(sender)] = static_cast<std::uint16_t>(size_ + 1);
  element(senders_, size_) = sender;
  return size_++;
}

bool sender_budget::take(in_addr_t sender) {
  int number = find(sender);
  if (number == none) number = add(sender);
  if (number == none || element(datagrams_, number) == most_datagrams) return false;
  ++element(datagrams_, number);
  return true;
}

// The place of the sender or, when it is unknown, the free place for it: linear probing from the top 12 bits
// of a multiplicative hash.
std::size_t sender_budget::place_of(in_addr_t sender) const {
  std::size_t place = (sender * 0x9E3779B1U) >> 20;
  while (found_[place] != 0 && element(senders_, found_[place] - 1) != sender) place = (place + 1) % places;
  return place;
}
