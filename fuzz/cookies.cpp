// Cookies: the input is what a client sends as its cookies.

#include "cgi/cookies.hpp"

#include <algorithm>
#include <vector>

#include "cgi/accessors.hpp"
#include "cgi/state.hpp"
#include "fuzz.hpp"

namespace {

void check_cookie(const char* name, std::size_t enough) {
  std::vector<char> whole(enough);
  const cgiFormResultType found = cgiCookieString(name, whole.data(), static_cast<int>(enough));
  require(found != cgiFormTruncated, "no value is longer than all cookies");
  const std::string value{whole.data()};
  require(value.find(';') == std::string::npos, "a value ends at its semicolon");
  for (const std::size_t space : {std::size_t{0}, std::size_t{1}, value.size(), value.size() + 1}) {
    std::vector<char> copy(space);
    const cgiFormResultType result = cgiCookieString(name, copy.data(), static_cast<int>(space));
    const bool cut = value.size() > std::max(space, std::size_t{1}) - 1;
    require(result == (cut ? cgiFormTruncated : found), "a copy tells when it is cut");
    require(space == 0 || value.substr(0, space - 1) == copy.data(),
            "a cut copy is the beginning of the whole one");
  }
  int number = 0;
  cgiCookieInteger(name, &number, 7);
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string cookies{text_of(data, size)};
  cgiCookie = cookies.c_str();
  char** names = nullptr;
  require(cgiCookies(&names) == cgiFormSuccess, "names can always be listed");
  for (char** name = names; *name != nullptr; ++name) {
    require(cookies.find(*name) != std::string::npos, "a name is part of the cookies");
    check_cookie(*name, size + 1);
  }
  cgiStringArrayFree(names);
  check_cookie("a", size + 1);
  return 0;
}
