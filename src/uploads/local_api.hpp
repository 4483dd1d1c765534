// Local device API client: sends one message to the unit's own API service and collects the reply.
//   service   127.0.0.1, UDP port 8000; anybody's datagram counts as its reply
//   reply     one datagram of at most 1500 bytes, and another one behind each whose text ends with "&": up to five
//   waits     3 s for each datagram, so at most 15 s

#pragma once

#include <string_view>

// Sends the message and appends the reply, or a marker of what failed, to api_reply_text. Returns 0 when the
// message was sent and every datagram came, and for an empty message, which is not sent; else -1.
[[nodiscard]] int send_local_api_command(std::string_view message);
