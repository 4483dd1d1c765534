// Multipart bodies: the first line of the input is the boundary, the rest is the body. It is decoded as it
// arrives in one piece, and again from small ones, which must give the same.

#include "cgi/multipart.hpp"

#include <sys/mman.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>

#include "cgi/state.hpp"
#include "fuzz.hpp"
#include "request.hpp"

namespace {

// More than a boundary ever has: it comes out of a buffer of 1,024 bytes that holds the content type too.
constexpr std::size_t longest_boundary = 1000;
// So many pieces fit into a socket that nobody reads yet.
constexpr std::size_t most_pieces = 100;

std::FILE* whole_body(std::string_view body) {
  const int file = memfd_create("body", MFD_CLOEXEC);
  require(write(file, body.data(), body.size()) == static_cast<ssize_t>(body.size()), "a body can be kept");
  lseek(file, 0, SEEK_SET);
  return fdopen(file, "r");
}

std::FILE* body_in_pieces(std::string_view body, std::size_t piece) {
  std::array<int, 2> ends{};
  require(socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends.data()) == 0, "there are sockets");
  while (!body.empty()) {
    const std::string_view packet = body.substr(0, piece);
    require(write(ends[1], packet.data(), packet.size()) == static_cast<ssize_t>(packet.size()),
            "a piece is sent");
    body.remove_prefix(packet.size());
  }
  close(ends[1]);
  return fdopen(ends[0], "r");
}

// Decodes the body and closes its stream.
cgiParseResultType decode(std::FILE* body, std::size_t length) {
  cgiIn = body;
  cgiContentLength = static_cast<std::int32_t>(length);
  const cgiParseResultType result = cgiParsePostMultipartInput();
  std::fclose(cgiIn);
  return result;
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::string_view body = text_of(data, size);
  const std::string boundary{take_up_to(body, '\n').substr(0, longest_boundary)};
  cgiMultipartBoundary = boundary.c_str();

  const cgiParseResultType result = decode(whole_body(body), body.size());
  require(result != cgiParseMemory, "a small body has memory");
  check_accessors();
  const std::string request = take_request();

  const std::size_t piece = 1 + size % 7 + body.size() / most_pieces;
  require(decode(body_in_pieces(body, piece), body.size()) == result, "pieces give the same result");
  require(take_request() == request, "pieces give the same fields");
  return 0;
}
