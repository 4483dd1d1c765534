#include "network.hpp"

#include <net/if.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstddef>
#include <cstring>

namespace fleet {

namespace {

constexpr int wanted_buffer = 64 * 1024 * 1024;

// Room for the one control message used, aligned for it.
union control_buffer {
  cmsghdr alignment;
  char bytes[CMSG_SPACE(sizeof(in_pktinfo))];
};

// Asks for a large buffer: beyond the kernel's limit if we may, else up to it.
void ask_for_buffer(int descriptor, int forced_option, int option) {
  if (setsockopt(descriptor, SOL_SOCKET, forced_option, &wanted_buffer, sizeof wanted_buffer) == 0) return;
  setsockopt(descriptor, SOL_SOCKET, option, &wanted_buffer, sizeof wanted_buffer);
}

// Joins the group on the interface, and asks for the destination address of each datagram.
bool join_group(int descriptor, const char* interface) {
  const int on = 1;
  ip_mreqn group{};
  group.imr_multiaddr.s_addr = htonl(discovery_group);
  group.imr_ifindex = static_cast<int>(if_nametoindex(interface));
  return group.imr_ifindex != 0 && setsockopt(descriptor, IPPROTO_IP, IP_PKTINFO, &on, sizeof on) == 0 &&
         setsockopt(descriptor, IPPROTO_IP, IP_ADD_MEMBERSHIP, &group, sizeof group) == 0;
}

// The header for recvmsg and sendmsg.
msghdr message_of(sockaddr_in& peer, iovec& text, control_buffer& control) {
  msghdr message{};
  message.msg_name = &peer;
  message.msg_namelen = sizeof peer;
  message.msg_iov = &text;
  message.msg_iovlen = 1;
  message.msg_control = &control;
  message.msg_controllen = sizeof control;
  return message;
}

// The address that the datagram was sent to, from its control message.
std::optional<std::uint32_t> destination(msghdr& message) {
  for (cmsghdr* header = CMSG_FIRSTHDR(&message); header != nullptr; header = CMSG_NXTHDR(&message, header)) {
    if (header->cmsg_level != IPPROTO_IP || header->cmsg_type != IP_PKTINFO) continue;
    in_pktinfo info{};
    std::memcpy(&info, CMSG_DATA(header), sizeof info);
    return ntohl(info.ipi_addr.s_addr);
  }
  return std::nullopt;
}

// Sets the source address of a datagram to send.
void set_source(msghdr& message, std::uint32_t address) {
  in_pktinfo info{};
  info.ipi_spec_dst.s_addr = htonl(address);
  cmsghdr* header = CMSG_FIRSTHDR(&message);
  header->cmsg_level = IPPROTO_IP;
  header->cmsg_type = IP_PKTINFO;
  header->cmsg_len = CMSG_LEN(sizeof info);
  std::memcpy(CMSG_DATA(header), &info, sizeof info);
}

}  // namespace

network::~network() {
  if (descriptor_ >= 0) close(descriptor_);
}

bool network::open(const char* interface) {
  descriptor_ = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  if (descriptor_ < 0) return false;
  ask_for_buffer(descriptor_, SO_RCVBUFFORCE, SO_RCVBUF);
  ask_for_buffer(descriptor_, SO_SNDBUFFORCE, SO_SNDBUF);
  sockaddr_in everywhere{};
  everywhere.sin_family = AF_INET;
  everywhere.sin_port = htons(api_port);
  return join_group(descriptor_, interface) &&
         bind(descriptor_, reinterpret_cast<const sockaddr*>(&everywhere), sizeof everywhere) == 0;
}

std::optional<received_datagram> network::receive() {
  received_datagram received{};
  control_buffer control{};
  iovec text{buffer_.data(), buffer_.size()};
  msghdr message = message_of(received.from, text, control);
  const ssize_t length = recvmsg(descriptor_, &message, MSG_DONTWAIT);
  if (length < 0) return std::nullopt;
  received.to = destination(message).value_or(0);
  received.text.assign(buffer_.data(), static_cast<std::size_t>(length));
  return received;
}

bool network::send(const datagram& outgoing) {
  control_buffer control{};
  sockaddr_in to = outgoing.to;
  iovec text{const_cast<char*>(outgoing.text.data()), outgoing.text.size()};
  msghdr message = message_of(to, text, control);
  set_source(message, outgoing.from);
  return sendmsg(descriptor_, &message, 0) >= 0;
}

}  // namespace fleet
