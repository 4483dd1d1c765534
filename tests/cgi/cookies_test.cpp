#include "cgi/cookies.hpp"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "cgi/accessors.hpp"
#include "cgi/state.hpp"

TEST(Cookies, StringTakesTheFirstPairOfTheName) {
  struct row {
    const char* cookies;
    const char* name;
    int space;
    int result;
    const char* value;
  };
  for (const row& row : {
           row{"a=1; b=2", "a", 64, cgiFormSuccess, "1"},
           {"a=1; b=2", "b", 64, cgiFormSuccess, "2"},
           {"a=1; b=2", "c", 64, cgiFormNotFound, ""},
           {"", "a", 64, cgiFormNotFound, ""},
           {"ab=1", "a", 64, cgiFormNotFound, ""},
           {"a=1", "ab", 64, cgiFormNotFound, ""},
           {"a=1;a=2", "a", 64, cgiFormSuccess, "1"},
           {"a; a=2", "a", 64, cgiFormSuccess, "2"},
           {"b=a=1", "a", 64, cgiFormNotFound, ""},
           {" a=1", "a", 64, cgiFormNotFound, ""},
           {"a =1", "a", 64, cgiFormNotFound, ""},
           {"x=1;\t\r\n a=2 ; b", "a", 64, cgiFormSuccess, "2 "},
           {"x=1; ", "a", 64, cgiFormNotFound, ""},
           {"a=", "a", 64, cgiFormSuccess, ""},
           {"a=b=c", "a", 64, cgiFormSuccess, "b=c"},
           {"a=123456", "a", 4, cgiFormTruncated, "123"},
           {"a=123; b", "a", 4, cgiFormSuccess, "123"},
           {"a=1", "a", 1, cgiFormTruncated, ""},
           {"a=1", "a", 0, cgiFormTruncated, "####"},
           {"a=1", "b", 0, cgiFormNotFound, "####"},
       }) {
    cgiCookie = row.cookies;
    char value[64] = "####";
    EXPECT_EQ(cgiCookieString(row.name, value, row.space), row.result) << row.cookies;
    EXPECT_STREQ(value, row.value) << row.cookies;
  }
}

TEST(Cookies, IntegerHasNoTypeCheck) {
  struct row {
    std::string cookies;
    int result;
    int number;
  };
  for (const row& row : {
           row{"n=42", cgiFormSuccess, 42},
           {"n= -7x", cgiFormSuccess, -7},
           {"n=word", cgiFormSuccess, 0},
           {"n=", cgiFormSuccess, 0},
           {"m=1", cgiFormNotFound, 99},
           {"n=" + std::string(254, '0') + "5", cgiFormSuccess, 5},
           {"n=" + std::string(255, '0') + "5", cgiFormTruncated, 99},
       }) {
    cgiCookie = row.cookies.c_str();
    int number = -1;
    EXPECT_EQ(cgiCookieInteger("n", &number, 99), row.result) << row.cookies;
    EXPECT_EQ(number, row.number) << row.cookies;
  }
}

TEST(Cookies, NamesEndAtTheirEqualsSignOnly) {
  struct row {
    const char* cookies;
    std::vector<std::string> names;
  };
  for (const row& row : {
           row{"", {}},
           {"a=1; b=2", {"a", "b"}},
           {"a; b=2", {"a; b"}},
           {"a", {"a"}},
           {" a=1;  =2; b", {"a", "b"}},
           {"a=1;", {"a"}},
           {"a=b=c; d=e", {"a", "d"}},
           {"=;=;=", {}},
       }) {
    cgiCookie = row.cookies;
    char** names = nullptr;
    ASSERT_EQ(cgiCookies(&names), cgiFormSuccess);
    std::vector<std::string> found;
    for (char** name = names; *name != nullptr; ++name) found.emplace_back(*name);
    EXPECT_EQ(found, row.names) << row.cookies;
    cgiStringArrayFree(names);
  }
}
