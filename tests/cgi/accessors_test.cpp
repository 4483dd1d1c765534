// Every accessor of a request's fields, uploads and cookies, and the decoder of url-encoded fields.

#include "cgi/accessors.hpp"

#include <gtest/gtest.h>

#include <array>
#include <climits>
#include <filesystem>
#include <random>
#include <string>
#include <tuple>
#include <vector>

#include "cgi/cookies.hpp"
#include "cgi/form_choices.hpp"
#include "cgi/form_numbers.hpp"
#include "cgi/state.hpp"
#include "cgi/uploaded_files.hpp"
#include "cgi/urlencoded.hpp"
#include "support/fields.hpp"

namespace {

using texts = std::vector<std::string>;

void request(std::string_view fields) {
  cgiFreeResources();
  EXPECT_EQ(cgiParseFormInput(fields), cgiParseSuccess);
}

// The texts of an array, which is then released.
texts take(char** array) {
  texts all;
  for (char** text = array; *text != nullptr; ++text) all.emplace_back(*text);
  cgiStringArrayFree(array);
  return all;
}

using text_reader = cgiFormResultType (*)(const char* name, char* result, int max);

// A copy touches nothing after its limit and is the start of the whole; the result says whether it was cut.
void check_limits(text_reader copy, const char* name) {
  constexpr int size = 40;
  std::string whole(size, '#');
  ASSERT_NE(copy(name, whole.data(), size), cgiFormTruncated);
  whole.resize(whole.find('\0'));
  for (int max = -1; max < size; ++max) {
    std::string expected(size, '#');
    const auto kept = std::min(whole.size(), static_cast<std::size_t>(std::max(max - 1, 0)));
    if (max > 0) expected.replace(0, kept + 1, whole.substr(0, kept) + '\0');
    std::string got(size, '#');
    const bool cut = copy(name, got.data(), max) == cgiFormTruncated;
    ASSERT_EQ(got, expected) << name << " with a limit of " << max;
    ASSERT_EQ(cut, kept < whole.size()) << name << " with a limit of " << max;
  }
}

}  // namespace

// If it fails, commands and fields arrive with other bytes than the client sent.
TEST(UrlEncoded, DecodesEveryForm) {
  using row = std::tuple<std::string_view, std::vector<field>>;
  for (const auto& [input, fields] : {
           row{"", {}},
           {"a=b=c&a=&b&", {{"a", "b=c"}, {"a", ""}, {"b", ""}}},
           {"a=1&&b=2", {{"a", "1"}}},
           {"=x&b=1", {}},
           {"%41%2b=%2B+GET%21", {{"A+", "+ GET!"}}},
           {"a=%4&b=%&c=%41%4", {{"a", ""}, {"b", ""}, {"c", "A"}}},
           {"a=%G1%c3%BC%9fy", {{"a", "\x01\xC3\xBC\x9Fy"}}},
           {"%00=1&a=%00abc", {{"", "1"}, {"a", ""}}},
           {{"a=x\0y&b=2", 9}, {{"a", "x"}, {"b", "2"}}},
       }) {
    request(input);
    EXPECT_EQ(take_fields(), fields) << input;
  }
}

// If it fails, line ends double or vanish, or a program takes too little space for the text.
TEST(FormTexts, LineEndRunsKeepTheLargerCountOrAreDropped) {
  struct row {
    std::string_view fields;
    cgiFormResultType kept_result;
    std::string_view kept;
    cgiFormResultType dropped_result;
    std::string_view dropped;
    int space;
  };
  for (const row& row : {
           row{"f=a%0D%0A%0D%0Ab%0Dc", cgiFormSuccess, "a\n\nb\nc", cgiFormSuccess, "abc", 9},
           {"f=%0A%0D%0D%0Db%0A%0A", cgiFormSuccess, "\n\n\nb\n\n", cgiFormSuccess, "b", 8},
           {"f=%0D%0A", cgiFormSuccess, "\n", cgiFormEmpty, "", 3},
           {"f=&f=2", cgiFormEmpty, "", cgiFormEmpty, "", 1},
           {"F=1&ff=2", cgiFormNotFound, "", cgiFormNotFound, "", 1},
       }) {
    request(row.fields);
    char copy[16];
    EXPECT_EQ(cgiFormString("f", copy, sizeof copy), row.kept_result) << row.fields;
    EXPECT_EQ(copy, row.kept) << row.fields;
    EXPECT_EQ(cgiFormStringNoNewlines("f", copy, sizeof copy), row.dropped_result) << row.fields;
    EXPECT_EQ(copy, row.dropped) << row.fields;
    int space = -1;
    const bool found = row.kept_result != cgiFormNotFound;
    EXPECT_EQ(cgiFormStringSpaceNeeded("f", &space), found ? cgiFormSuccess : cgiFormNotFound) << row.fields;
    EXPECT_EQ(space, row.space) << row.fields;
  }
}

// If it fails, a text is written over its buffer, or cut without a word of it.
TEST(FormTexts, NoLimitIsEverExceeded) {
  constexpr int rounds = 200;
  std::mt19937 random{14};
  for (int round = 0; round < rounds; ++round) {
    std::string text(random() % 30, '\0');
    for (char& byte : text) byte = "\r\n\r\nab \xFF"[random() % 8];
    append_field({"f", text});
    append_field({"u", "", text + "u", text});
    const std::string cookie = "x=1; u=2; f=" + text;
    cgiCookie = cookie.c_str();
    for (const text_reader copy :
         {cgiFormString, cgiFormStringNoNewlines, cgiFormFileName, cgiFormFileContentType, cgiCookieString}) {
      for (const char* name : {"f", "u", "no"}) check_limits(copy, name);
    }
    cgiFreeResources();
  }
}

// If it fails, a program misses values or names of the request.
TEST(FormTexts, ArraysContainAllValuesAndAllNames) {
  const std::string long_value(10'000, 'x');
  using row = std::tuple<std::string, texts, texts>;
  for (const auto& [fields, values, names] : {
           row{"", {}, {}},
           {"b=1&a=2", {}, {"b", "a"}},
           {"z&f=1&g=2&f=&f=3%0D%0A%0A4&z", {"1", "", "3\n\n4"}, {"z", "f", "g"}},
           {"f=" + long_value + "&F=1&%00=1&%00x=2", {long_value}, {"f", "F", ""}},
       }) {
    request(fields);
    char** array = nullptr;
    EXPECT_EQ(cgiFormStringMultiple("f", &array), values.empty() ? cgiFormNotFound : cgiFormSuccess);
    EXPECT_EQ(take(array), values) << fields;
    EXPECT_EQ(cgiFormEntries(&array), cgiFormSuccess);
    EXPECT_EQ(take(array), names) << fields;
  }
}

// If it fails, a request of many fields keeps a unit busy for minutes, or overruns its stack.
TEST(FormEntry, ManyTakeNoQuadraticTimeAndNoStack) {
  std::string many;
  for (int i = 0; i < 200'000; ++i) many += std::to_string(i) + "&";
  request(many + many);
  char** array = nullptr;
  EXPECT_EQ(cgiFormEntries(&array), cgiFormSuccess);
  const texts names = take(array);
  EXPECT_EQ(names.size(), 200'000U);
  EXPECT_EQ(names.back(), "199999");
  cgiFreeResources();
}

// If it fails, a number is read that the client did not send, or one out of its bounds passes.
TEST(FormNumbers, AcceptWhatBeginsLikeANumber) {
  struct row {
    std::string_view fields;
    cgiFormResultType integer_result;
    int integer;
    cgiFormResultType double_result;
    double number;
  };
  for (const row& row : {
           row{"n=%20%0A%0D%09-7.5e1x", cgiFormSuccess, -7, cgiFormSuccess, -75},
           {"n=%2B12abc", cgiFormSuccess, 12, cgiFormSuccess, 12},
           {"n=.5", cgiFormBadType, 77, cgiFormSuccess, 0.5},
           {"n=%0B5", cgiFormBadType, 77, cgiFormBadType, 77},
           {"n=%20%20", cgiFormBadType, 77, cgiFormBadType, 77},
           {"n=-", cgiFormSuccess, 0, cgiFormSuccess, 0},
           {"n=0x10", cgiFormSuccess, 0, cgiFormSuccess, 16},
           {"n=2147483648", cgiFormSuccess, 2147483647, cgiFormSuccess, 2147483648.0},
           {"n=-99999999999999999999", cgiFormSuccess, INT_MIN, cgiFormSuccess, -1e20},
           {"n=", cgiFormEmpty, 77, cgiFormEmpty, 77},
           {"m=1", cgiFormNotFound, 77, cgiFormNotFound, 77},
       }) {
    request(row.fields);
    int integer = -1;
    double number = -1;
    EXPECT_EQ(cgiFormInteger("n", &integer, 77), row.integer_result) << row.fields;
    EXPECT_EQ(integer, row.integer) << row.fields;
    EXPECT_EQ(cgiFormDouble("n", &number, 77), row.double_result) << row.fields;
    EXPECT_EQ(number, row.number) << row.fields;
  }
  // The bounds are inclusive, the lower one is looked at first, and the default is free.
  using bounded_row = std::tuple<const char*, int, int, cgiFormResultType, int>;
  request("five=5&word=x");
  for (const auto& [name, min, max, result, number] : {
           bounded_row{"five", 5, 5, cgiFormSuccess, 5},
           {"five", 6, 9, cgiFormConstrained, 6},
           {"five", -1, 4, cgiFormConstrained, 4},
           {"five", 6, 1, cgiFormConstrained, 6},
           {"word", 1, 2, cgiFormBadType, 77},
           {"none", 1, 2, cgiFormNotFound, 77},
       }) {
    int integer = -1;
    double real = -1;
    EXPECT_EQ(cgiFormIntegerBounded(name, &integer, min, max, 77), result) << name << min;
    EXPECT_EQ(cgiFormDoubleBounded(name, &real, min, max, 77), result) << name << min;
    EXPECT_EQ(integer, number) << name << min;
    EXPECT_EQ(real, number) << name << min;
  }
}

// If it fails, a form selects a choice that the client did not send.
TEST(FormChoices, AreComparedExactly) {
  constexpr std::array choices{"1", "2", "", "2"};
  struct row {
    std::string_view fields;
    cgiFormResultType single_result;
    int single;
    cgiFormResultType multiple_result;
    std::array<int, 4> flags;
    int invalid;
  };
  for (const row& row : {
           row{"f=2&f=1&f=2&f=3", cgiFormSuccess, 1, cgiFormSuccess, {1, 1, 0, 0}, 1},
           {"f=+1&f=x", cgiFormNoSuchChoice, 77, cgiFormNotFound, {0, 0, 0, 0}, 2},
           {"f", cgiFormSuccess, 2, cgiFormSuccess, {0, 0, 1, 0}, 0},
           {"g=1", cgiFormNotFound, 77, cgiFormNotFound, {0, 0, 0, 0}, 0},
       }) {
    request(row.fields);
    for (const auto select : {cgiFormSelectSingle, cgiFormRadio}) {
      int index = -1;
      EXPECT_EQ(select("f", choices.data(), 4, &index, 77), row.single_result) << row.fields;
      EXPECT_EQ(index, row.single) << row.fields;
    }
    for (const auto select : {cgiFormSelectMultiple, cgiFormCheckboxMultiple}) {
      std::array<int, 4> flags{9, 9, 9, 9};
      int invalid = -1;
      EXPECT_EQ(select("f", choices.data(), 4, flags.data(), &invalid), row.multiple_result) << row.fields;
      EXPECT_EQ(flags, row.flags) << row.fields;
      EXPECT_EQ(invalid, row.invalid) << row.fields;
    }
    const bool found = row.single_result != cgiFormNotFound;
    EXPECT_EQ(cgiFormCheckboxSingle("f"), found ? cgiFormSuccess : cgiFormNotFound) << row.fields;
  }
}

// If it fails, a command takes the wrong upload, or a plain field for one.
TEST(UploadedFile, IsTheFirstOfItsName) {
  append_field({"plain", "value"});
  append_field({"file", "0123456789", "client.bin", "t"});
  append_field({"file", "abc", "second.bin", "t"});
  struct row {
    const char* field;
    cgiFormResultType name, type, file;
    int size;
  };
  for (const row& row : {
           row{"file", cgiFormSuccess, cgiFormSuccess, cgiFormSuccess, 10},
           {"plain", cgiFormNoFileName, cgiFormNoContentType, cgiFormNotAFile, 0},
           {"File", cgiFormNotFound, cgiFormNotFound, cgiFormNotFound, 0},
       }) {
    char text[16];
    EXPECT_EQ(cgiFormFileName(row.field, text, sizeof text), row.name) << row.field;
    EXPECT_STREQ(text, row.size > 0 ? "client.bin" : "");
    EXPECT_EQ(cgiFormFileContentType(row.field, text, sizeof text), row.type) << row.field;
    int size = -1;
    EXPECT_EQ(cgiFormFileSize(row.field, &size), row.file) << row.field;
    EXPECT_EQ(size, row.size) << row.field;
    EXPECT_EQ(cgiFormFileSize(row.field, nullptr), row.file) << row.field;
    cgiFile other{nullptr};
    cgiFilePtr file = &other;
    EXPECT_EQ(cgiFormFileOpen(row.field, &file), row.file) << row.field;
    EXPECT_EQ(cgiFormFileClose(file), file != nullptr ? cgiFormSuccess : cgiFormOpenFailed) << row.field;
  }
}

// If it fails, an upload is read cut, or one that is gone passes for an empty one.
TEST(UploadedFile, IsReadWholeUnlessItIsGone) {
  append_field({"file", "0123456789", "client.bin"});
  cgiFilePtr file = nullptr;
  ASSERT_EQ(cgiFormFileOpen("file", &file), cgiFormSuccess);
  std::string buffer(7, '#');
  int got = 0;
  EXPECT_EQ(cgiFormFileRead(file, buffer.data(), 7, &got), cgiFormSuccess);
  EXPECT_EQ(buffer, "0123456");
  EXPECT_EQ(cgiFormFileRead(file, buffer.data(), 7, &got), cgiFormSuccess);
  EXPECT_EQ(buffer, "7893456");
  EXPECT_EQ(cgiFormFileRead(file, buffer.data(), 7, &got), cgiFormEOF);
  EXPECT_EQ(got, 3);
  EXPECT_EQ(cgiFormFileRead(nullptr, buffer.data(), 7, &got), cgiFormOpenFailed);
  std::filesystem::remove(cgiFormEntryFirst->tfileName());
  cgiFilePtr same = file;
  EXPECT_EQ(cgiFormFileOpen("file", &same), cgiFormIO);
  EXPECT_EQ(same, file);
  EXPECT_EQ(cgiFormFileClose(file), cgiFormSuccess);
}

// If it fails, a program takes the value of another cookie.
TEST(Cookies, AreFoundByTheirNamesAndListed) {
  struct row {
    const char* cookies;
    cgiFormResultType result;
    std::string value;
    texts names;
  };
  for (const row& row : {
           row{"", cgiFormNotFound, "", {}},
           {"b=2; a=1;a=3", cgiFormSuccess, "1", {"b", "a", "a"}},
           {"ab=1; b=a=2; xa=3; a", cgiFormNotFound, "", {"ab", "b", "xa", "a"}},
           {"a; a=2", cgiFormSuccess, "2", {"a; a"}},
           {" a=1;  =2; a =3; ", cgiFormNotFound, "", {"a", "a "}},
           {"x=1;\t\r\n a=2 ; b", cgiFormSuccess, "2 ", {"x", "a", "b"}},
           {"a=b=c;", cgiFormSuccess, "b=c", {"a"}},
           {"=;=;a=;=", cgiFormSuccess, "", {"a"}},
       }) {
    cgiCookie = row.cookies;
    char value[16];
    EXPECT_EQ(cgiCookieString("a", value, sizeof value), row.result) << row.cookies;
    EXPECT_EQ(value, row.value) << row.cookies;
    char** names = nullptr;
    EXPECT_EQ(cgiCookies(&names), cgiFormSuccess);
    EXPECT_EQ(take(names), row.names) << row.cookies;
  }
}

// If it fails, a cookie that is no number is refused, or a long one is cut to another number.
TEST(Cookies, IntegerHasNoTypeCheck) {
  struct row {
    std::string cookies;
    cgiFormResultType result;
    int number;
  };
  for (const row& row : {
           row{"n= -7x", cgiFormSuccess, -7},
           {"n=word", cgiFormSuccess, 0},
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
