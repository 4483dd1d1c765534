#include "uploads/local_api.hpp"

#include <array>
#include <cerrno>
#include <chrono>
#include <cstddef>

#include "base/datagram.hpp"
#include "base/fixed_text.hpp"
#include "base/handles.hpp"
#include "base/text.hpp"
#include "base/unit.hpp"
#include "uploads/uploads_state.hpp"

namespace {

constexpr std::chrono::seconds receive_timeout{3};
constexpr int most_datagrams = 5;
constexpr std::size_t datagram_size = 1500;

using marker_text = fixed_text<256>;

using receive_buffer = std::array<char, datagram_size + 1>;

// Receives one datagram into the buffer and appends its text, or a marker, to api_reply_text. Returns its
// length, 0 for an empty datagram, or -1.
int receive_reply(int socket, receive_buffer& buffer) {
  const int length = receive_datagram(socket, buffer);
  if (length > 0) {
    api_reply_text.append_cut(buffer.data());
  } else {
    marker_text marker;
    marker.print("&HANDLER=INTERNAL_REPLY_ERROR_x:%d_errno:%d", length, errno);
    api_reply_text.append_cut(marker.view());
  }
  return length;
}

// Receives datagrams for as long as their text ends with "&". Returns 0, or -1 when one did not come.
int collect_reply(int socket) {
  receive_buffer buffer;
  for (int datagrams = 0; datagrams < most_datagrams; ++datagrams) {
    if (receive_reply(socket, buffer) <= 0) return -1;
    if (!std::string_view{buffer.data()}.ends_with('&')) break;
  }
  return 0;
}

}  // namespace

int send_local_api_command(std::string_view message) {
  if (message.empty()) {
    api_reply_text.append_cut("&CMD=null");
    return 0;
  }
  const unique_fd socket{open_datagram_socket()};
  // A time-out that cannot be set is only noted. The message is sent all the same.
  if (const int result = set_receive_timeout(socket.get(), receive_timeout); result != 0) {
    marker_text marker;
    marker.print("&HANDLER=SETSOCKOPT_ERROR_%d_%d", result, errno);
    api_reply_text.append_cut(marker.view());
  }
  const sockaddr_in service = datagram_address("127.0.0.1", unit::api_port);
  if (send_datagram(socket.get(), message, service) < 0) {
    api_reply_text.append_cut("&HANDLER=INTERNAL_SEND_ERROR");
    return -1;
  }
  return collect_reply(socket.get());
}
