// Body stream: reads the body of a multipart request once, from start to end.
//   source     cgiIn, never more than CONTENT_LENGTH bytes of it; with a negative length the body is empty
//   blocks     input is read ahead, as much as is available; no read waits for bytes that nobody asked for
//   put back   bytes that the decoder returns are delivered again before any further input

#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

struct cgiBodyStream {
  static constexpr std::size_t ring_size = 1024;
  static constexpr std::size_t block_size = 65536;

  // The ring of returned bytes, empty when both positions are equal. It is longer than any boundary pattern,
  // so what a search returns always fits:
  //
  //     putback   | . . A - - . . |        next bytes: A - -
  //                     ^     ^ writePos
  //                     readPos
  std::array<char, ring_size> putback;
  std::size_t readPos;   // index of the next byte to deliver
  std::size_t writePos;  // index of the next free byte

  std::int32_t offset;  // body bytes delivered, less those put back

  // The input read ahead; the bytes from blockBegin to blockEnd are not delivered yet. Every read fills the
  // block after the headroom, and the few bytes that a search could not decide yet are moved in front of it:
  //
  //   headroom                    block
  //   |                  <bytes> | bytes of the next read ...                      |
  //                      ^ blockBegin                                     blockEnd ^
  //
  // If those bytes used room of the block itself, each read would ask for a little less than a pipe contains,
  // and the next read would return only that little.
  static constexpr std::size_t headroom_size = 4096;
  std::array<char, headroom_size + block_size> block;
  std::size_t blockBegin;
  std::size_t blockEnd;
  std::int32_t received;  // bytes read from cgiIn so far
};

// Delivers up to buffer.size() bytes: the returned ones first, in the order of the ring, then further input.
// Returns the number delivered, less than asked for only at the end of the body, and 0 once it has ended.
std::size_t cgiBodyRead(cgiBodyStream& stream, std::span<char> buffer);

// Delivers the next byte. Returns false at the end of the body.
[[nodiscard]] bool cgiBodyReadByte(cgiBodyStream& stream, char& byte);

// Returns bytes to the stream. They queue after those that still wait in the ring:
//
//     put back "B-" while "A" waits:   ring  A B -     input  ...      next byte: A
//
// So bytes keep the order in which they were returned, not the order of the body.
void cgiBodyPutBack(cgiBodyStream& stream, std::string_view bytes);

// The next bytes of the stream that are contiguous in memory, at least one. Waits for input when none is
// there; empty at the end of the body. The bytes stay in the stream until cgiBodySkip takes them.
[[nodiscard]] std::string_view cgiBodyAtHand(cgiBodyStream& stream);

// Reads more input after the bytes at hand, for a search that needs more to decide. The ring must be empty,
// and the bytes at hand must fit the headroom. Returns false at the end of the body; they are then still at
// hand.
[[nodiscard]] bool cgiBodyReadMore(cgiBodyStream& stream);

// Takes `count` of the bytes at hand off the stream.
void cgiBodySkip(cgiBodyStream& stream, std::size_t count);

// True while returned bytes wait in the ring.
[[nodiscard]] inline bool cgiBodyHasPutBack(const cgiBodyStream& stream) {
  return stream.readPos != stream.writePos;
}
