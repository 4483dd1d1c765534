#include "cgi/headers.hpp"

#include <array>
#include <cstdio>
#include <ctime>

#include "base/clock.hpp"
#include "base/element.hpp"
#include "base/fixed_text.hpp"
#include "cgi/state.hpp"

namespace {

constexpr std::array<const char*, 7> weekday_names{"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
constexpr std::array<const char*, 12> month_names{"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                                  "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
constexpr int first_year = 1900;

}  // namespace

void cgiHeaderContentType(const char* mimeType) {
  std::fprintf(cgiOut, "Content-type: %s\r\n\r\n", mimeType);
}

void cgiHeaderLocation(const char* url) {
  std::fprintf(cgiOut, "Location: %s\r\n\r\n", url);
}

void cgiHeaderStatus(int status, const char* message) {
  std::fprintf(cgiOut, "Status: %d %s\r\n\r\n", status, message);
}

void cgiHeaderCookieSetString(const char* name, const char* value, int secondsToLive, const char* path,
                              const char* domain) {
  const std::time_t expiry = wall_seconds() + secondsToLive;
  std::tm utc{};
  gmtime_r(&expiry, &utc);
  std::fprintf(
      cgiOut, "Set-Cookie: %s=%s; domain=%s; expires=%s, %02d-%s-%04d %02d:%02d:%02d GMT; path=%s\r\n", name,
      value, domain, element(weekday_names, utc.tm_wday), utc.tm_mday, element(month_names, utc.tm_mon),
      utc.tm_year + first_year, utc.tm_hour, utc.tm_min, utc.tm_sec, path);
}

void cgiHeaderCookieSetInteger(const char* name, int value, int secondsToLive, const char* path,
                               const char* domain) {
  fixed_text<256> text;
  text.print("%d", value);
  cgiHeaderCookieSetString(name, text.c_str(), secondsToLive, path, domain);
}
