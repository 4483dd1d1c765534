#include "cgi/escaping.hpp"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <span>
#include <string_view>

#include "cgi/state.hpp"

namespace {

struct substitution {
  char byte;
  std::string_view written_as;
};

constexpr auto html_substitutions = std::to_array<substitution>({
    {'<', "&lt;"},
    {'&', "&amp;"},
    {'>', "&gt;"},
});
constexpr auto value_substitutions = std::to_array<substitution>({
    {'"', "&#34;"},
});

bool write_text(std::string_view bytes) {
  return std::ranges::all_of(bytes, [](char byte) { return std::putc(byte, cgiOut) != EOF; });
}

cgiFormResultType write_escaped(std::string_view text, std::span<const substitution> substitutions) {
  for (const char& byte : text) {
    const auto row = std::ranges::find(substitutions, byte, &substitution::byte);
    const std::string_view written_as =
        row == substitutions.end() ? std::string_view{&byte, 1} : row->written_as;
    if (!write_text(written_as)) return cgiFormIO;
  }
  return cgiFormSuccess;
}

}  // namespace

cgiFormResultType cgiHtmlEscapeData(const char* data, std::size_t length) {
  return write_escaped({data, length}, html_substitutions);
}

cgiFormResultType cgiHtmlEscape(const char* text) {
  return write_escaped(text, html_substitutions);
}

cgiFormResultType cgiValueEscapeData(const char* data, std::size_t length) {
  return write_escaped({data, length}, value_substitutions);
}

cgiFormResultType cgiValueEscape(const char* text) {
  return write_escaped(text, value_substitutions);
}
