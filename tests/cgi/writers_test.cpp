#include <gtest/gtest.h>

#include <cstdio>
#include <ctime>
#include <string>

#include "cgi/escaping.hpp"
#include "cgi/headers.hpp"
#include "cgi/state.hpp"
#include "support/answer.hpp"

// If it fails, a web server does not understand the answer.
TEST(Headers, AreWrittenByteForByte) {
  caught_answer caught;
  cgiHeaderContentType("text/html");
  cgiHeaderLocation("/a?b=c");
  cgiHeaderStatus(500, "Error");
  EXPECT_EQ(caught.take(),
            "Content-type: text/html\r\n\r\nLocation: /a?b=c\r\n\r\nStatus: 500 Error\r\n\r\n");
}

// If it fails, browsers drop a cookie, or keep it too long.
TEST(Headers, CookieExpiresAtNowPlusItsLife) {
  caught_answer caught;
  for (const int life : {0, -86400, 31 * 86400}) {
    const auto expected = [life] {
      const std::time_t expiry = std::time(nullptr) + life;
      char text[128];
      std::strftime(text, sizeof text,
                    "Set-Cookie: n=-5; domain=d.example; expires=%a, %d-%b-%Y %H:%M:%S GMT; path=/p\r\n",
                    std::gmtime(&expiry));
      return std::string{text};
    };
    const std::string before = expected();
    cgiHeaderCookieSetInteger("n", -5, life, "/p", "d.example");
    const std::string written = caught.take();
    EXPECT_TRUE(written == before || written == expected()) << written;
  }
}

// If it fails, a text of a client becomes markup of the page.
TEST(Escaping, ReplacesItsOwnCharactersOnly) {
  caught_answer caught;
  for (const cgiFormResultType result : {cgiHtmlEscape("<&>\"&amp;\xFF|"), cgiValueEscape("<&>\"|"),
                                         cgiHtmlEscapeData("a\0b|<", 4), cgiValueEscapeData("\"\"", 1)}) {
    EXPECT_EQ(result, cgiFormSuccess);
  }
  EXPECT_EQ(caught.take(), std::string("&lt;&amp;&gt;\"&amp;amp;\xFF|<&>&#34;|a\0b|&#34;", 43));
}

// If it fails, a program goes on although its client gets nothing.
TEST(Escaping, StopsAtTheFirstByteThatCannotBeWritten) {
  cgiOut = std::fopen("/dev/full", "we");
  std::setvbuf(cgiOut, nullptr, _IONBF, 0);
  EXPECT_EQ(cgiHtmlEscape("a"), cgiFormIO);
  EXPECT_EQ(cgiValueEscapeData("\"", 1), cgiFormIO);
  std::fclose(cgiOut);
}
