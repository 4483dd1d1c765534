// How a boundary is found. The rule that fixes every byte of the result works byte by byte:
//
//   Compare the bytes with the pattern. On the first difference output the pattern's first byte, put back the
//   other bytes that matched and then the byte that differed, and start again with the ring.
//
// Bytes that are put back queue after those still waiting in the ring. So a boundary that overlaps its own
// look-alike in a preamble is missed, here the pattern --B-C in the body --B--B-C:
//
//     output   ring     input
//                       --B--B-C     the fifth byte is "-", not "C"
//     -        -B--     B-C          the second byte is "B", not "-": it goes after the two that still wait
//     --       --B      B-C          the fourth byte is "B", not "-"
//     ---      -BB      -C           and the boundary cannot be found any more
//
// Only the first boundary can be missed like that, and clients send nothing in front of it. The quirk is kept
// because the rule fixes the result for every body.
//
// match_here follows the rule literally. That takes several steps a byte, so while the ring is empty two
// searches pass whole runs of bytes to the output, always the same bytes as the rule would:
//
//   search_first   the first boundary. Skips bytes at which no match begins and leaves the rest to
//                  match_here, as a near miss can change the order of the bytes
//   search_next    every later one. Its pattern has a carriage return at its start and nowhere else, so no
//                  near miss can hide the beginning of a match, and any exact search finds the same place
//
// Both keep what may be the start of a boundary until more input has arrived:
//
//     at hand:  | passed to the output ...                 | may start a boundary |

#include "cgi/boundary_search.hpp"

#include <algorithm>
#include <array>
#include <cstring>
#include <string_view>

#include "base/fixed_text.hpp"
#include "cgi/state.hpp"

namespace {

constexpr std::size_t longest_pattern_size = 1024;

// Writes the bytes in front of a boundary to the file, to memory or nowhere, and counts them.
class body_writer {
 public:
  explicit body_writer(const cgiBodyOutput& output) : output_(output) {}

  void write(std::string_view bytes) {
    if (result_ != cgiParseSuccess || bytes.empty()) return;
    if (output_.file != nullptr) {
      // A full disk must not pass for a whole file.
      if (std::fwrite(bytes.data(), 1, bytes.size(), output_.file) != bytes.size()) result_ = cgiParseIO;
    } else if (output_.memory != nullptr) {
      if (!output_.memory->append_all(bytes)) result_ = cgiParseMemory;
    } else {
      return;
    }
    length_ += bytes.size();
  }

  // cgiParseSuccess until a write failed.
  [[nodiscard]] cgiParseResultType result() const { return result_; }

  // Flushes the file. Stores the number of bytes written in `length`, which stays unchanged after an error.
  cgiParseResultType finish(std::int32_t& length) {
    if (output_.file != nullptr && std::fflush(output_.file) != 0) result_ = cgiParseIO;
    if (result_ == cgiParseSuccess) length = static_cast<std::int32_t>(length_);
    return result_;
  }

 private:
  cgiBodyOutput output_;
  std::size_t length_ = 0;
  cgiParseResultType result_ = cgiParseSuccess;
};

// What one step of a search came to: the boundary is taken off the stream, the search continues, or the body
// has ended.
enum class search_step { found, go_on, ended };

// Takes the bytes that equal the start of the pattern off the stream. Returns how many.
std::size_t take_matching(cgiBodyStream& stream, std::string_view pattern) {
  std::size_t matched = 0;
  while (matched < pattern.size()) {
    const std::string_view wanted = pattern.substr(matched);
    const std::string_view bytes = cgiBodyAtHand(stream).substr(0, wanted.size());
    if (bytes.empty()) break;
    const auto differs = std::ranges::mismatch(bytes, wanted).in1;
    const auto equal = static_cast<std::size_t>(differs - bytes.begin());
    cgiBodySkip(stream, equal);
    matched += equal;
    if (equal < bytes.size()) break;
  }
  return matched;
}

// One step of the rule above.
search_step match_here(cgiBodyStream& stream, std::string_view pattern, body_writer& output) {
  const std::size_t matched = take_matching(stream, pattern);
  if (matched == pattern.size()) return search_step::found;
  char byte = '\0';
  if (!cgiBodyReadByte(stream, byte)) return search_step::ended;
  if (matched == 0) {
    output.write({&byte, 1});
    return search_step::go_on;
  }
  output.write(pattern.substr(0, 1));
  cgiBodyPutBack(stream, pattern.substr(1, matched - 1));
  cgiBodyPutBack(stream, {&byte, 1});
  return search_step::go_on;
}

// Moves the next `count` bytes at hand to the output.
void pass_on(cgiBodyStream& stream, std::size_t count, body_writer& output) {
  output.write(cgiBodyAtHand(stream).substr(0, count));
  cgiBodySkip(stream, count);
}

// The search for the first boundary while the ring is empty. It looks at the run of equal bytes that starts
// the pattern, because only there the rule can begin a match. For "--B" that is "--":
//
//     -x       the run is shorter: no match begins in it
//     ----x    only its last two bytes could begin a match, but the next byte is wrong
//     ----B    a match may begin two bytes before the end of the run: match_here compares the rest
//     ----|    the run ends with the bytes at hand: keep two and read more
//
// A pattern that is nothing but such a run (only_run) matches at the run's start.
search_step search_first(cgiBodyStream& stream, std::string_view pattern, body_writer& output) {
  const std::string_view bytes = cgiBodyAtHand(stream);
  if (bytes.empty()) return search_step::ended;
  const std::size_t wanted_run = std::min(pattern.find_first_not_of(pattern[0]), pattern.size());
  const bool only_run = wanted_run == pattern.size();
  const std::size_t start = std::min(bytes.find(pattern[0]), bytes.size());
  const std::size_t end = std::min(bytes.find_first_not_of(pattern[0], start), bytes.size());
  const std::size_t run = end - start;
  const bool long_enough = run >= wanted_run;
  if (long_enough && (only_run || (end < bytes.size() && bytes[end] == pattern[wanted_run]))) {
    pass_on(stream, only_run ? start : end - wanted_run, output);
    return match_here(stream, pattern, output);
  }
  const bool run_may_go_on = end == bytes.size();
  pass_on(stream, run_may_go_on ? end - std::min(run, wanted_run) : end, output);
  return !run_may_go_on || cgiBodyReadMore(stream) ? search_step::go_on : search_step::ended;
}

// The search for a later boundary while the ring is empty.
search_step search_next(cgiBodyStream& stream, std::string_view pattern, body_writer& output) {
  const std::string_view bytes = cgiBodyAtHand(stream);
  if (bytes.empty()) return search_step::ended;
  const void* found = memmem(bytes.data(), bytes.size(), pattern.data(), pattern.size());
  if (found != nullptr) {
    pass_on(stream, static_cast<std::size_t>(static_cast<const char*>(found) - bytes.data()), output);
    cgiBodySkip(stream, pattern.size());
    return search_step::found;
  }
  // The last bytes may be the start of a boundary: keep one less than its length.
  if (bytes.size() >= pattern.size()) pass_on(stream, bytes.size() - pattern.size() + 1, output);
  return cgiBodyReadMore(stream) ? search_step::go_on : search_step::ended;
}

// Searches until the boundary is found, the body ends or the output fails.
cgiParseResultType find_boundary(cgiBodyStream& stream, cgiBoundary which, body_writer& output) {
  static fixed_text<longest_pattern_size> text;
  text.print("\r\n--%s", cgiMultipartBoundary);
  const bool first = which == cgiBoundary::first;
  const std::string_view pattern = text.view().substr(first ? 2 : 0);
  search_step step = search_step::go_on;
  while (step == search_step::go_on && output.result() == cgiParseSuccess) {
    if (cgiBodyHasPutBack(stream)) {
      step = match_here(stream, pattern, output);
    } else {
      step = first ? search_first(stream, pattern, output) : search_next(stream, pattern, output);
    }
  }
  if (output.result() != cgiParseSuccess) return output.result();
  return step == search_step::found ? cgiParseSuccess : cgiParseIO;
}

// Takes the two bytes after a boundary: the line end, or "--", which is put back for the caller's end test.
cgiParseResultType take_boundary_end(cgiBodyStream& stream) {
  std::array<char, 2> bytes;
  if (cgiBodyRead(stream, bytes) < bytes.size()) return cgiParseIO;
  if (bytes[0] == '-') cgiBodyPutBack(stream, {bytes.data(), bytes.size()});
  return cgiParseSuccess;
}

}  // namespace

cgiParseResultType cgiReadToBoundary(cgiBodyStream& stream, cgiBoundary which, const cgiBodyOutput& output,
                                     std::int32_t& length) {
  body_writer writer{output};
  length = 0;
  cgiParseResultType result = find_boundary(stream, which, writer);
  if (result == cgiParseSuccess) result = take_boundary_end(stream);
  return result == cgiParseSuccess ? writer.finish(length) : result;
}
