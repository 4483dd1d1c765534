// How a boundary is found. The rule that fixes every byte of the result reads one byte at a time:
//
//   compare with the pattern; on the first difference put out the pattern's first byte, put back the others that
//   matched and the byte that differed, and begin again with what was put back
//
// match_here follows this rule literally. It costs several steps a byte, so while nothing is put back two other
// searches pass on, in one go, what the rule would pass on byte by byte:
//
//   search_first   the first boundary. What was put back comes after older bytes that still wait, so some near
//                  misses change the order in which the bytes in front of it are compared. The search only skips
//                  bytes at which no match begins, and leaves the rest to match_here
//   search_next    every later one. Its pattern contains a carriage return at its start only: no near miss can hide
//                  the beginning of a match, so any exact search finds the same place
//
//   a block:  | passed on to the output ...              | may begin a boundary |
//                                                        ^ kept at hand until more bytes have arrived

#include "cgi/boundary_search.hpp"

#include <algorithm>
#include <array>
#include <cstring>
#include <string_view>

#include "base/fixed_text.hpp"
#include "cgi/state.hpp"

namespace {

constexpr std::size_t longest_pattern_size = 1024;

// Writes the bytes before a boundary: into the file, into memory, or nowhere.
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

  // cgiParseSuccess until something could not be written.
  [[nodiscard]] cgiParseResultType result() const { return result_; }

  // Flushes the file. Sets length to the number of bytes written; leaves it alone after an error.
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

enum class search_step { found, go_on, ended };

// Takes the bytes that the pattern begins with off the stream, as far as both agree. Returns how many.
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

// Compares what comes next with the pattern. When they differ, one byte goes to the output and the others are
// put back, the one that differed at the end. Bytes that are put back while older ones still wait come after these:
// so a boundary that overlaps a near miss of itself may be missed. Clients send nothing in front of
// the first boundary, where alone this can happen.
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

// Passes the next bytes at hand on to the output.
void pass_on(cgiBodyStream& stream, std::size_t count, body_writer& output) {
  output.write(cgiBodyAtHand(stream).substr(0, count));
  cgiBodySkip(stream, count);
}

// The search for the first boundary while nothing is put back: passes on, in one go, what match_here would pass
// on byte by byte. The run of equal bytes that the pattern begins with decides: a shorter run begins no boundary;
// of a longer one only the end can, and only in front of the right byte.
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

// The search for a later boundary while nothing is put back.
search_step search_next(cgiBodyStream& stream, std::string_view pattern, body_writer& output) {
  const std::string_view bytes = cgiBodyAtHand(stream);
  if (bytes.empty()) return search_step::ended;
  const void* found = memmem(bytes.data(), bytes.size(), pattern.data(), pattern.size());
  if (found != nullptr) {
    pass_on(stream, static_cast<std::size_t>(static_cast<const char*>(found) - bytes.data()), output);
    cgiBodySkip(stream, pattern.size());
    return search_step::found;
  }
  // A boundary may have begun in the last bytes.
  if (bytes.size() >= pattern.size()) pass_on(stream, bytes.size() - pattern.size() + 1, output);
  return cgiBodyReadMore(stream) ? search_step::go_on : search_step::ended;
}

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

// The two bytes after a boundary: a line end, or the start of the closing mark, which is left to the end test.
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
