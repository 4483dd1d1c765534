// Multipart bodies: the first line of the input is the boundary, the rest is the body. It is decoded once in
// one piece and once in small ones, which must give the same result.

#include "cgi/multipart.hpp"

#include <sys/socket.h>
#include <unistd.h>

#include <array>

#include "cgi/state.hpp"
#include "fuzz.hpp"
#include "request.hpp"

namespace {

// Longer than any boundary: one comes from a buffer of 1,024 bytes that also contains the content type.
constexpr std::size_t longest_boundary = 1000;
// Longer than any input, and not longer than one read.
constexpr std::size_t one_piece = 32'768;
// This many pieces fit into a socket that nobody reads.
constexpr std::size_t most_pieces = 100;

// Decodes the body when it arrives in pieces of that many bytes: a packet socket delivers one packet a read.
cgiParseResultType decode(std::string_view body, std::size_t piece) {
  cgiContentLength = static_cast<std::int32_t>(body.size());
  std::array<int, 2> ends{};
  require(socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends.data()) == 0, "there are sockets");
  while (!body.empty()) {
    const std::string_view packet = body.substr(0, piece);
    require(write(ends[1], packet.data(), packet.size()) == static_cast<ssize_t>(packet.size()),
            "a piece is sent");
    body.remove_prefix(packet.size());
  }
  close(ends[1]);
  cgiIn = fdopen(ends[0], "r");
  const cgiParseResultType result = cgiParsePostMultipartInput();
  std::fclose(cgiIn);
  return result;
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::string_view body = text_of(data, size);
  const std::string boundary{take_up_to(body, '\n').substr(0, longest_boundary)};
  cgiMultipartBoundary = boundary.c_str();

  const cgiParseResultType result = decode(body, one_piece);
  require(result != cgiParseMemory, "a small body has memory");
  check_accessors();
  const std::string request = take_request();

  require(decode(body, 1 + size % 7 + body.size() / most_pieces) == result, "pieces give the same result");
  require(take_request() == request, "pieces give the same fields");
  return 0;
}
