// Body stream: the body of a multipart request, read once from its start to its end.
//   from      cgiIn, never more than CONTENT_LENGTH bytes of it; a negative length is a body without bytes
//   ahead     input is taken in blocks, as much as there is; no read waits for bytes that nobody asked for
//   put back  bytes that a reader returns are delivered again, ahead of all further input

#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

struct cgiBodyStream {
  static constexpr std::size_t ring_size = 1024;
  static constexpr std::size_t block_size = 65536;

  // The bytes put back: a ring, empty when both positions are equal. It is longer than any boundary, so what a
  // search puts back always fits.
  std::array<char, ring_size> putback;
  std::size_t readPos;   // next byte of the ring to deliver
  std::size_t writePos;  // next free place of the ring

  std::int32_t offset;  // body bytes delivered and not put back

  // The input read ahead: what lies from blockBegin up to blockEnd is not delivered yet. Every read takes a whole
  // block, after the headroom; the few bytes that a search could not decide yet are moved in front of it:
  //
  //   headroom                    block
  //   |                  <bytes> | bytes of the next read ...                      |
  //                      ^ blockBegin                                     blockEnd ^
  //
  // If those bytes took room in the block itself, a read would ask for a little less than a pipe contains, and the next
  // read would get only that little.
  static constexpr std::size_t headroom_size = 4096;
  std::array<char, headroom_size + block_size> block;
  std::size_t blockBegin;
  std::size_t blockEnd;
  std::int32_t received;  // bytes of the body taken from cgiIn so far
};

// Delivers up to buffer.size() bytes: those put back first, the oldest of them first, then further input.
// Returns how many; fewer than asked for only at the end of the body, and 0 once it has ended.
std::size_t cgiBodyRead(cgiBodyStream& stream, std::span<char> buffer);

// The next byte; false at the end of the body.
[[nodiscard]] bool cgiBodyReadByte(cgiBodyStream& stream, char& byte);

// Returns bytes to the stream. They come after those of an earlier put-back that are still waiting.
void cgiBodyPutBack(cgiBodyStream& stream, std::string_view bytes);

// The next bytes of the stream that lie together, at least one, waiting for input when there is none; empty at
// the end of the body. They stay in the stream until cgiBodySkip takes them.
[[nodiscard]] std::string_view cgiBodyAtHand(cgiBodyStream& stream);

// The same with more after them, for a reader that cannot decide yet: nothing may be put back, and no more than
// the headroom may be at hand. Returns false at the end of the body, with what was at hand as it was.
[[nodiscard]] bool cgiBodyReadMore(cgiBodyStream& stream);

// Takes `count` bytes of those at hand off the stream.
void cgiBodySkip(cgiBodyStream& stream, std::size_t count);

[[nodiscard]] inline bool cgiBodyHasPutBack(const cgiBodyStream& stream) {
  return stream.readPos != stream.writePos;
}
