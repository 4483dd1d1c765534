#include <gtest/gtest.h>

#include <cstdio>
#include <ctime>
#include <string>

#include "cgi/escaping.hpp"
#include "cgi/headers.hpp"
#include "cgi/state.hpp"
#include "support/answer.hpp"

TEST(Headers, AreWrittenByteForByte) {
  caught_answer caught;
  cgiHeaderContentType("text/html");
  EXPECT_EQ(caught.take(), "Content-type: text/html\r\n\r\n");
  cgiHeaderLocation("/a?b=c");
  EXPECT_EQ(caught.take(), "Location: /a?b=c\r\n\r\n");
  cgiHeaderStatus(500, "Error reading form data");
  EXPECT_EQ(caught.take(), "Status: 500 Error reading form data\r\n\r\n");
}

TEST(Headers, CookieExpiresAtNowPlusItsLife) {
  caught_answer caught;
  for (const int life : {0, -86400, 31 * 86400}) {
    const std::time_t before = std::time(nullptr) + life;
    cgiHeaderCookieSetInteger("n", -5, life, "/p", "d.example");
    const std::time_t after = std::time(nullptr) + life;
    const auto expected = [](std::time_t expiry) {
      char text[128];
      std::strftime(text, sizeof text,
                    "Set-Cookie: n=-5; domain=d.example; expires=%a, %d-%b-%Y %H:%M:%S GMT; path=/p\r\n",
                    std::gmtime(&expiry));
      return std::string{text};
    };
    const std::string written = caught.take();
    EXPECT_TRUE(written == expected(before) || written == expected(after)) << written;
  }
  cgiHeaderCookieSetString("s", "a;\"b", 0, "/", "d");
  EXPECT_EQ(caught.take().find("Set-Cookie: s=a;\"b; domain=d; expires="), 0U);
}

TEST(Escaping, ReplacesItsOwnCharactersOnly) {
  caught_answer caught;
  EXPECT_EQ(cgiHtmlEscape("<&>\"&amp;\xFF"), cgiFormSuccess);
  EXPECT_EQ(caught.take(), "&lt;&amp;&gt;\"&amp;amp;\xFF");
  EXPECT_EQ(cgiValueEscape("<&>\""), cgiFormSuccess);
  EXPECT_EQ(caught.take(), "<&>&#34;");
  EXPECT_EQ(cgiHtmlEscapeData("a\0b<", 3), cgiFormSuccess);
  EXPECT_EQ(caught.take(), std::string("a\0b", 3));
  EXPECT_EQ(cgiValueEscapeData("\"\"", 1), cgiFormSuccess);
  EXPECT_EQ(caught.take(), "&#34;");
  EXPECT_EQ(cgiHtmlEscape(""), cgiFormSuccess);
  EXPECT_EQ(caught.take(), "");
}

TEST(Escaping, StopsAtTheFirstByteThatCannotBeWritten) {
  std::FILE* full = std::fopen("/dev/full", "we");
  std::setvbuf(full, nullptr, _IONBF, 0);
  cgiOut = full;
  EXPECT_EQ(cgiHtmlEscape("a"), cgiFormIO);
  EXPECT_EQ(cgiValueEscapeData("\"", 1), cgiFormIO);
  EXPECT_EQ(cgiHtmlEscape(""), cgiFormSuccess);
  std::fclose(full);
}
