// Local device API client: sends a message to the unit's own API service and collects the reply.
//   service   127.0.0.1, UDP port 8000; the sender of a reply is not checked
//   reply     up to five datagrams of at most 1500 bytes; each whose text ends with "&" announces another one
//   waits     3 s for each datagram, so at most 15 s

#pragma once

#include <string_view>

// Sends the message and appends the reply, or a marker for what failed, to api_reply_text. Returns 0 when the
// message was sent and every datagram came, and for an empty message, which is not sent. Else returns -1.
[[nodiscard]] int send_local_api_command(std::string_view message);
