#include "discovery/api_message.hpp"

namespace {

constexpr std::size_t longest_reply_key = 63;
constexpr std::size_t longest_reply_value = 62;

}  // namespace

api_request::api_request(std::string_view target) {
  append("CMD=START&UNIT.ID=");
  append(target);
}

void api_request::add(std::string_view key, std::string_view value) {
  append("&");
  append(key);
  append("=");
  append(value);
}

bool api_request::finish() {
  append("&CMD=END");
  return whole_;
}

void api_request::append(std::string_view text) {
  text = text_before_zero(text);
  const std::span<char> room = text_.buffer().subspan(length_, text_.capacity - length_);
  whole_ = whole_ && text.size() <= room.size();
  if (whole_) length_ += text.copy(room.data(), room.size());
}

reply_segment take_reply_pair(std::string_view& text, reply_pair& pair) {
  const std::size_t end = text.find('&');
  if (end == std::string_view::npos) return reply_segment::none;
  const std::string_view from_segment = text;
  const std::size_t equals = from_segment.find('=');
  if (equals == std::string_view::npos) return reply_segment::none;
  text.remove_prefix(end + 1);
  if (equals > longest_reply_key) return reply_segment::skipped;
  pair = {from_segment.substr(0, equals), {}};
  if (equals < end && end - equals - 1 <= longest_reply_value) {
    pair.value = from_segment.substr(equals + 1, end - equals - 1);
  }
  return reply_segment::pair;
}

bool find_reply_value(std::string_view text, std::string_view key, std::string_view& value) {
  const std::size_t found = text.find(key);
  if (found == std::string_view::npos) return false;
  text.remove_prefix(found + key.size());
  if (!text.empty()) text.remove_prefix(1);
  value = text.substr(0, text.find('&'));
  return true;
}

bool is_success_reply(std::string_view text) {
  return text.find("API=SUCCESS") != std::string_view::npos ||
         text.find("API.STATUS=SUCCESS") != std::string_view::npos;
}
