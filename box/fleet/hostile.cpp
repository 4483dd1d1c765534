#include "hostile.hpp"

#include <algorithm>
#include <array>

namespace fleet {

namespace {

using namespace std::string_view_literals;

// Pairs that stay unchanged.
constexpr auto spared_keys =
    std::to_array<std::string_view>({"UNIT.MODEL=", "UNIT.SERIAL=", "IP.ADDRESS=", "API=", "API.STATUS="});
constexpr auto shell_values = std::to_array<std::string_view>(
    {"$(touch /tmp/owned)", "`touch /tmp/owned`", "\"; touch /tmp/owned; \"", "'; touch /tmp/owned; '",
     "| touch /tmp/owned", "a\ntouch /tmp/owned\n", "> /tmp/owned", "\\\" $IFS ${PATH} ~ * ? !",
     "%s%n%x%999999d", "<script>alert(1)</script>", "room \"1\", left", "../../tmp/owned"});
constexpr auto lengths = std::to_array<std::size_t>({63, 64, 65, 200, 1100});
constexpr auto odd_segments = std::to_array<std::string_view>(
    {"NO.EQUALS.SIGN", "=no key", "TWO=EQUALS=SIGNS", "", "=",
     "KEY.OF.63.BYTES.45678901234567890123456789012345678901234567890=63",
     "KEY.OF.64.BYTES.456789012345678901234567890123456789012345678901=64", "UNIT_9_"});
constexpr auto byte_values =
    std::to_array<std::string_view>({"\x80\xfe\xff"sv, "a\0b"sv, "\x01\x1b[2J\x7f"sv, "\xc3\x28 \xe2\x82"sv,
                                     "\r\nSet-Cookie: a=b\r\n"sv, "\t \t"sv});

bool is_spared(std::string_view segment) {
  return std::ranges::any_of(spared_keys, [segment](auto key) { return segment.starts_with(key); });
}

// Returns the segment with a hostile value, or followed by an odd segment.
std::string hostile_segment(std::string_view segment, hostility kind, std::size_t turn) {
  const std::string key{segment.substr(0, segment.find('=') + 1)};
  switch (kind) {
    case hostility::shell:
      return key + std::string{shell_values[turn % shell_values.size()]};
    case hostility::length:
      return key + std::string(lengths[turn % lengths.size()], 'x');
    case hostility::bytes:
      return key + std::string{byte_values[turn % byte_values.size()]};
    case hostility::pairs:
      return std::string{segment} + "&" + std::string{odd_segments[turn % odd_segments.size()]};
    default:
      return std::string{segment};
  }
}

// The kind of one unit's texts: with `all`, each unit has the next one.
hostility kind_of_unit(hostility kind, std::size_t index) {
  constexpr auto kinds = std::to_array(
      {hostility::shell, hostility::length, hostility::pairs, hostility::joined, hostility::bytes});
  return kind == hostility::all ? kinds[index % kinds.size()] : kind;
}

}  // namespace

std::string hostile_text(std::string_view text, hostility kind, std::size_t index) {
  kind = kind_of_unit(kind, index);
  if (kind == hostility::none) return std::string{text};
  const char joint = kind == hostility::joined ? ';' : '&';
  std::string changed;
  for (std::size_t turn = index; !text.empty(); ++turn) {
    const std::string_view segment = text.substr(0, text.find('&'));
    text.remove_prefix(std::min(text.size(), segment.size() + 1));
    changed += is_spared(segment) ? std::string{segment} : hostile_segment(segment, kind, turn);
    if (!text.empty()) changed += joint;
  }
  return changed;
}

}  // namespace fleet
