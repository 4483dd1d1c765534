// Device API messages: the texts that units exchange on port 8000, one UDP datagram each.
//   request   CMD=START&UNIT.ID=<target>{&<key>=<value>}&CMD=END, target ALL, NONE or one unit's serial
//   reply     <key>=<value> pairs separated by "&", in no particular order, in one or more datagrams
//   escaping  there is none: a value cannot hold "&", nor "=" where a reader would split it

#pragma once

#include <cstddef>
#include <string_view>

#include "base/fixed_text.hpp"

// The queries that discovery sends. One addressed to no unit always goes ahead of one to all of them.
inline constexpr std::string_view query_none = "CMD=START&UNIT.ID=NONE&QUERY.STATUS=TRUE&CMD=END";
inline constexpr std::string_view query_status = "CMD=START&UNIT.ID=ALL&QUERY.STATUS=TRUE&CMD=END";
inline constexpr std::string_view query_all = "CMD=START&UNIT.ID=ALL&QUERY.ALL=TRUE&CMD=END";

// Builds a request of at most 2047 bytes.
class api_request {
 public:
  explicit api_request(std::string_view target);
  void add(std::string_view key, std::string_view value);

  // Closes the request. Returns true when it is whole; one that did not fit must not be sent.
  [[nodiscard]] bool finish();

  [[nodiscard]] std::string_view text() const { return text_.view(); }

 private:
  void append(std::string_view text);

  fixed_text<2048> text_;
  std::size_t length_ = 0;
  bool whole_ = true;
};

// One pair of a reply; the key is at most 63 bytes, the value at most 62 and otherwise given empty.
struct reply_pair {
  std::string_view key;
  std::string_view value;
};

enum class reply_segment {
  none,     // no "&" or no "=" is left: what follows is not read
  skipped,  // a segment without a usable key
  pair,
};

// Takes the next segment, up to and including its "&", off the reply text and splits it at its first "=". When no
// segment is left the text stays as it is.
// The "=" is searched beyond the "&" too, so a segment without one can yield a key that holds an "&"; such a
// key is no known one, and the reader drops it.
[[nodiscard]] reply_segment take_reply_pair(std::string_view& text, reply_pair& pair);

// Looks up a value by the name of its key: the first occurrence of the name anywhere in the text, not bound
// to the start of a pair; the one character after it is skipped, whatever it is, and the value runs to the
// next "&" or to the end. Returns false, with the value as it was, when the name does not occur.
[[nodiscard]] bool find_reply_value(std::string_view text, std::string_view key, std::string_view& value);

// The same into a buffer; a longer value is cut. Returns the length copied, or 0 when the name does not
// occur.
template <std::size_t N>
std::size_t get_reply_value(std::string_view text, std::string_view key, fixed_text<N>& value) {
  std::string_view found;
  if (!find_reply_value(text, key, found)) return 0;
  value.assign_cut(found);
  return value.view().size();
}

// True when the reply acknowledges a request: it holds one of the two success markers anywhere.
[[nodiscard]] bool is_success_reply(std::string_view text);
