// Device API messages: the texts that units exchange over UDP port 8000, one datagram each.
//   request   CMD=START&UNIT.ID=<target>{&<key>=<value>}&CMD=END; the target is ALL, NONE or a unit's serial
//   reply     <key>=<value> pairs separated by "&", in any order, in one or more datagrams
//   escaping  none: a value cannot contain "&"

#pragma once

#include <cstddef>
#include <string_view>

#include "base/fixed_text.hpp"

// The queries of discovery. query_none, addressed to no unit, is sent before a query to the group.
inline constexpr std::string_view query_none = "CMD=START&UNIT.ID=NONE&QUERY.STATUS=TRUE&CMD=END";
inline constexpr std::string_view query_status = "CMD=START&UNIT.ID=ALL&QUERY.STATUS=TRUE&CMD=END";
inline constexpr std::string_view query_all = "CMD=START&UNIT.ID=ALL&QUERY.ALL=TRUE&CMD=END";

// Builds a request of at most 2047 bytes. A text is taken up to its first zero byte.
class api_request {
 public:
  // Starts a request to a target: ALL, NONE or a serial.
  explicit api_request(std::string_view target);
  // Appends a setting.
  void add(std::string_view key, std::string_view value);

  // Ends the request. Returns false when it did not fit: it is then incomplete and must not be sent.
  [[nodiscard]] bool finish();

  [[nodiscard]] std::string_view text() const { return text_.view(); }

 private:
  void append(std::string_view text);

  fixed_text<2048> text_;
  std::size_t length_ = 0;
  bool whole_ = true;
};

// One pair of a reply. The key has at most 63 bytes. A value over 62 bytes is replaced by an empty one.
struct reply_pair {
  std::string_view key;
  std::string_view value;
};

// What take_reply_pair found.
enum class reply_segment {
  none,     // no "&" or no "=" is left: the rest is not read
  skipped,  // a segment without a usable key
  pair,
};

// Takes the next segment, up to and including its "&", off the reply text and splits it at its first "=".
// When there is none left the text stays unchanged. Quirk: the "=" is also searched after the "&", so a
// segment without "=" gives a key that contains "&". No column has such a key, so the pair is dropped.
//
//     A=1&B&C=2&     pairs: key A, value 1    key B&C, no value    key C, value 2
[[nodiscard]] reply_segment take_reply_pair(std::string_view& text, reply_pair& pair);

// Finds a value by the name of its key: the first occurrence of the name anywhere in the text, also inside
// another key or a value. The byte after the name is skipped, whatever it is, and the value extends to the
// next "&" or the end. Returns false, with `value` unchanged, when the name does not occur.
[[nodiscard]] bool find_reply_value(std::string_view text, std::string_view key, std::string_view& value);

// The same, but copies the value into a buffer and cuts it. Returns the length copied, 0 when the name does
// not occur.
template <std::size_t N>
std::size_t get_reply_value(std::string_view text, std::string_view key, fixed_text<N>& value) {
  std::string_view found;
  if (!find_reply_value(text, key, found)) return 0;
  value.assign_cut(found);
  return value.view().size();
}

// True when the reply acknowledges a request: it contains API=SUCCESS or API.STATUS=SUCCESS anywhere.
[[nodiscard]] bool is_success_reply(std::string_view text);
