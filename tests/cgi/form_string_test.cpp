#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "base/text.hpp"
#include "cgi/accessors.hpp"
#include "cgi/form_entry.hpp"
#include "cgi/state.hpp"
#include "cgi/urlencoded.hpp"

namespace {

// The list as text: name=value(valueLength) of each entry, each followed by a blank.
std::string decoded(std::string_view input) {
  cgiFreeResources();
  EXPECT_EQ(cgiParseFormInput(input), cgiParseSuccess);
  std::string list;
  for (const cgiFormEntry* entry = cgiFormEntryFirst; entry != nullptr; entry = entry->next) {
    list.append(entry->name.get()).append("=").append(entry->value.get());
    list.append("(" + std::to_string(entry->valueLength) + ") ");
    EXPECT_STREQ(entry->fileName.get(), "");
    EXPECT_STREQ(entry->contentType.get(), "");
    EXPECT_STREQ(entry->tfileName.get(), "");
  }
  return list;
}

}  // namespace

TEST(UrlEncoded, DecodesEveryForm) {
  struct row {
    std::string_view input;
    const char* list;
  };
  for (const row& row : {
           row{"", ""},
           {"a", "a=(0) "},
           {"a=", "a=(0) "},
           {"a=1&", "a=1(1) "},
           {"a&b=1", "a=(0) b=1(1) "},
           {"a=1&&b=2", "a=1(1) "},
           {"=x&b=1", ""},
           {"&a=1", ""},
           {"a=b=c", "a=b=c(3) "},
           {"a=1&a=2", "a=1(1) a=2(1) "},
           {"CMD=GET+NODES%21", "CMD=GET NODES!(10) "},
           {"%41%2b=%2B+", "A+=+ (2) "},
           {"a=%4", "a=(0) "},
           {"a=%", "a=(0) "},
           {"a=%41%4", "a=A(1) "},
           {"a=%4&b=2", "a=(0) b=2(1) "},
           {"a=%zzb", "a=(0) "},
           {"a=%G1", "a=\x01(1) "},
           {"a=%c3%BC", "a=\xC3\xBC(2) "},
           {"a=%ff%FE%0f", "a=\xFF\xFE\x0F(3) "},
           {"a=%00abc", "a=(0) "},
           {"%00=1", "=1(1) "},
           {{"a=x\0y&b=2", 9}, "a=x(1) b=2(1) "},
       }) {
    EXPECT_EQ(decoded(row.input), row.list) << row.input;
  }
}

TEST(UrlEncoded, AMillionFieldsTakeLinearTimeAndNoStack) {
  constexpr int count = 1'000'000;
  std::string input;
  for (int i = 0; i < count; ++i) input += "a&";
  EXPECT_EQ(cgiParseFormInput(input), cgiParseSuccess);
  int entries = 0;
  for (const cgiFormEntry* entry = cgiFormEntryFirst; entry != nullptr; entry = entry->next) ++entries;
  EXPECT_EQ(entries, count);
  cgiFreeResources();
  EXPECT_EQ(cgiFormEntryFirst, nullptr);
}

TEST(FormString, LineEndRunsKeepTheLargerCount) {
  struct row {
    const char* input;
    int result;
    const char* text;
  };
  for (const row& row : {
           row{"f=a%0D%0Ab", cgiFormSuccess, "a\nb"},
           {"f=a%0Db", cgiFormSuccess, "a\nb"},
           {"f=a%0D%0A%0D%0Ab", cgiFormSuccess, "a\n\nb"},
           {"f=a%0A%0Ab", cgiFormSuccess, "a\n\nb"},
           {"f=a%0A%0D%0D%0Db", cgiFormSuccess, "a\n\n\nb"},
           {"f=%0D%0A", cgiFormSuccess, "\n"},
           {"f=", cgiFormEmpty, ""},
           {"f=%00abc", cgiFormEmpty, ""},
           {"f=first&f=second", cgiFormSuccess, "first"},
           {"F=1&ff=2", cgiFormNotFound, ""},
       }) {
    decoded(row.input);
    char copy[255];
    EXPECT_EQ(cgiFormString("f", copy, sizeof copy), row.result) << row.input;
    EXPECT_STREQ(copy, row.text) << row.input;
  }
}

TEST(FormEntry, SearchGoesOnBehindTheEntryFound) {
  decoded("a=1&b=2&a=3");
  char value[8];
  EXPECT_EQ(cgiFormString("a", value, sizeof value), cgiFormSuccess);
  const cgiFormEntry* next = cgiFindNextEntry();
  ASSERT_NE(next, nullptr);
  EXPECT_STREQ(next->value.get(), "3");
  EXPECT_EQ(cgiFindNextEntry(), nullptr);
}
