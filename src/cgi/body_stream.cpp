#include "cgi/body_stream.hpp"

#include <algorithm>
#include <cstring>

#include "base/files.hpp"
#include "cgi/state.hpp"

namespace {

// Moves the undelivered input in front of the block and reads what is available into the block. Returns false
// at the end of the body.
bool receive(cgiBodyStream& stream) {
  const std::size_t kept = stream.blockEnd - stream.blockBegin;
  const std::size_t begin = cgiBodyStream::headroom_size - kept;
  std::memmove(stream.block.data() + begin, stream.block.data() + stream.blockBegin, kept);
  stream.blockBegin = begin;
  stream.blockEnd = cgiBodyStream::headroom_size;
  if (stream.received >= cgiContentLength) return false;
  const auto left = static_cast<std::size_t>(cgiContentLength - stream.received);
  const std::span<char> room = std::span{stream.block}.subspan(stream.blockEnd);
  const std::size_t length = read_available(cgiIn, room.first(std::min(room.size(), left)));
  stream.blockEnd += length;
  stream.received += static_cast<std::int32_t>(length);
  return length > 0;
}

}  // namespace

std::size_t cgiBodyRead(cgiBodyStream& stream, std::span<char> buffer) {
  std::size_t delivered = 0;
  while (delivered < buffer.size()) {
    const std::string_view bytes = cgiBodyAtHand(stream).substr(0, buffer.size() - delivered);
    if (bytes.empty()) break;
    bytes.copy(buffer.data() + delivered, bytes.size());
    delivered += bytes.size();
    cgiBodySkip(stream, bytes.size());
  }
  return delivered;
}

bool cgiBodyReadByte(cgiBodyStream& stream, char& byte) {
  const std::string_view bytes = cgiBodyAtHand(stream);
  if (bytes.empty()) return false;
  byte = bytes.front();
  cgiBodySkip(stream, 1);
  return true;
}

void cgiBodyPutBack(cgiBodyStream& stream, std::string_view bytes) {
  stream.offset -= static_cast<std::int32_t>(bytes.size());
  while (!bytes.empty()) {
    const std::string_view piece = bytes.substr(0, stream.putback.size() - stream.writePos);
    piece.copy(stream.putback.data() + stream.writePos, piece.size());
    stream.writePos = (stream.writePos + piece.size()) % stream.putback.size();
    bytes.remove_prefix(piece.size());
  }
}

std::string_view cgiBodyAtHand(cgiBodyStream& stream) {
  if (cgiBodyHasPutBack(stream)) {
    // Bytes that wrap around the end of the ring come in two pieces.
    const bool wraps = stream.writePos < stream.readPos;
    const std::size_t end = wraps ? stream.putback.size() : stream.writePos;
    return {stream.putback.data() + stream.readPos, end - stream.readPos};
  }
  if (stream.blockBegin == stream.blockEnd && !receive(stream)) return {};
  return {stream.block.data() + stream.blockBegin, stream.blockEnd - stream.blockBegin};
}

bool cgiBodyReadMore(cgiBodyStream& stream) {
  return receive(stream);
}

void cgiBodySkip(cgiBodyStream& stream, std::size_t count) {
  if (cgiBodyHasPutBack(stream)) {
    stream.readPos = (stream.readPos + count) % stream.putback.size();
  } else {
    stream.blockBegin += count;
  }
  stream.offset += static_cast<std::int32_t>(count);
}
