#include "cgi/cookies.hpp"

#include <algorithm>
#include <new>
#include <optional>
#include <string_view>

#include "base/fixed_text.hpp"
#include "base/text.hpp"
#include "cgi/accessors.hpp"
#include "cgi/state.hpp"

namespace {

constexpr std::size_t number_text_size = 256;

// The value of the first pair of that name. White space at the start of the cookie text and around "=" is
// part of the name or value; only white space after a ";" is skipped.
std::optional<std::string_view> find_cookie(std::string_view name) {
  std::string_view text = cgiCookie;
  while (!text.empty()) {
    const std::size_t end = text.find(';');
    if (text.starts_with(name) && text.substr(name.size()).starts_with('=')) {
      text = text.substr(name.size() + 1);
      return text.substr(0, text.find(';'));
    }
    if (end == std::string_view::npos) break;
    text = skip_space(text.substr(end + 1));
  }
  return std::nullopt;
}

// Stores a copy of a name in the slot and moves on to the next one; an empty name is left out. Returns false
// without memory.
bool append_name(char**& slot, std::string_view name) {
  if (name.empty()) return true;
  *slot = cgiCopyText(name).release();
  return *slot++ != nullptr;
}

// Copies every name. A pair ends at the first ";" after its "=", so one without "=" runs on into the next
// pair: "a; b=1" has the one name "a; b". Returns false without memory.
bool copy_names(std::string_view text, char** slot) {
  while (!text.empty()) {
    text = skip_space(text);
    if (!append_name(slot, text.substr(0, text.find('=')))) return false;
    const std::size_t end = text.find(';', std::min(text.find('='), text.size()));
    if (end == std::string_view::npos) break;
    text.remove_prefix(end + 1);
  }
  return true;
}

}  // namespace

cgiFormResultType cgiCookieString(const char* name, char* value, int space) {
  const std::optional<std::string_view> found = find_cookie(name);
  const std::string_view text = found.value_or("");
  bounded_text copy{{value, static_cast<std::size_t>(std::max(space, 0))}};
  const bool whole = copy.add(text);
  if (!found) return cgiFormNotFound;
  return whole ? cgiFormSuccess : cgiFormTruncated;
}

cgiFormResultType cgiCookieInteger(const char* name, int* result, int defaultValue) {
  fixed_text<number_text_size> text;
  const cgiFormResultType found = cgiCookieString(name, text.buffer().data(), number_text_size);
  *result = found == cgiFormSuccess ? leading_number(text.view()) : defaultValue;
  return found;
}

cgiFormResultType cgiCookies(char*** result) {
  const std::string_view text = cgiCookie;
  // A slot for each "=", one for a last name without "=", and one for the null pointer at the end.
  const auto slots = static_cast<std::size_t>(std::ranges::count(text, '=')) + 2;
  *result = new (std::nothrow) char* [slots] {};
  if (*result == nullptr) return cgiFormMemory;
  if (copy_names(text, *result)) return cgiFormSuccess;
  cgiStringArrayFree(*result);
  *result = nullptr;
  return cgiFormMemory;
}
