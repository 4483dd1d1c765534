#include "message.hpp"

#include <algorithm>

namespace fleet {

namespace {

constexpr std::string_view opening = "CMD=START&UNIT.ID=";
constexpr std::string_view closing = "&CMD=END";

}  // namespace

std::optional<request> read_request(std::string_view text) {
  if (!text.starts_with(opening)) return std::nullopt;
  text.remove_prefix(opening.size());
  if (!text.ends_with(closing)) return std::nullopt;
  text.remove_suffix(closing.size());

  request asked{text.substr(0, text.find('&')), {}};
  text.remove_prefix(asked.target.size());
  while (!text.empty()) {
    text.remove_prefix(1);  // the "&"
    const std::string_view segment = text.substr(0, text.find('&'));
    text.remove_prefix(segment.size());
    const std::size_t equals = segment.find('=');
    if (equals == std::string_view::npos || equals == 0) continue;
    asked.pairs.push_back({segment.substr(0, equals), segment.substr(equals + 1)});
  }
  return asked;
}

step step_of(const request_pair& pair) {
  const step when_true = pair.key.starts_with("QUERY.")                    ? step::query
                         : pair.key == "SAVE" || pair.key == "CONFIG.SAVE" ? step::save
                         : pair.key == "REBOOT"                            ? step::reboot
                                                                           : step::none;
  if (when_true != step::none) return pair.value == "TRUE" ? when_true : step::none;
  return pair.key == "CMD" || pair.value.empty() ? step::none : step::set;
}

bool asks_for(const request& asked, step wanted) {
  const auto is_wanted = [wanted](const request_pair& pair) { return step_of(pair) == wanted; };
  const auto is_nothing = [](const request_pair& pair) { return step_of(pair) == step::none; };
  if (std::ranges::any_of(asked.pairs, is_wanted)) return wanted != step::none;
  return wanted == step::set && std::ranges::all_of(asked.pairs, is_nothing);
}

std::vector<std::string> split_answer(std::string_view text, std::size_t size) {
  std::vector<std::string> datagrams;
  while (text.size() > size) {
    // The last "&" that fits, or else the first one after that. Without another "&" the rest is the last
    // datagram.
    std::size_t cut = text.rfind('&', size - 1);
    if (cut == std::string_view::npos) cut = text.find('&', size);
    if (cut == std::string_view::npos || cut + 1 == text.size()) break;
    datagrams.emplace_back(text.substr(0, cut + 1));
    text.remove_prefix(cut + 1);
  }
  if (!text.empty()) datagrams.emplace_back(text);
  return datagrams;
}

std::vector<std::string> split_script(std::string_view script) {
  std::vector<std::string> datagrams;
  for (std::size_t bar = 0; bar != std::string_view::npos;) {
    bar = script.find('|');
    datagrams.emplace_back(script.substr(0, bar));
    if (bar != std::string_view::npos) script.remove_prefix(bar + 1);
  }
  return datagrams;
}

std::string printable(std::string_view bytes) {
  constexpr std::string_view digits = "0123456789abcdef";
  std::string text;
  for (const char byte : bytes) {
    const auto code = static_cast<unsigned char>(byte);
    if (code >= 0x20 && code < 0x7f) {
      text += byte;
    } else {
      text.append("\\x").append(1, digits[code >> 4U]).append(1, digits[code & 15U]);
    }
  }
  return text;
}

}  // namespace fleet
