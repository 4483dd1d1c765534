// Cookies: the input is the cookie text that a client sends.

#include "cgi/cookies.hpp"

#include "cgi/accessors.hpp"
#include "cgi/state.hpp"
#include "fuzz.hpp"
#include "request.hpp"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string cookies{text_of(data, size)};
  cgiCookie = cookies.c_str();
  char** names = nullptr;
  require(cgiCookies(&names) == cgiFormSuccess, "names can always be listed");
  for (char** name = names; *name != nullptr; ++name) {
    require(cookies.find(*name) != std::string::npos, "a name is part of the cookies");
    check_limits(cgiCookieString, *name, size + 1);
  }
  cgiStringArrayFree(names);
  check_limits(cgiCookieString, "a", size + 1);
  int number = 0;
  cgiCookieInteger("a", &number, 7);
  return 0;
}
