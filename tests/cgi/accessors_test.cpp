#include "cgi/accessors.hpp"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <functional>
#include <limits>
#include <random>
#include <string>
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

}  // namespace

TEST(FormTexts, LineEndsAreDroppedOnRequest) {
  struct row {
    std::string_view fields;
    cgiFormResultType result;
    std::string_view text;  // in a buffer of 4 bytes
    int space;
  };
  for (const row& row : {
           row{"f=a%0D%0Ab", cgiFormSuccess, "ab", 5},
           {"f=a%0A%0A%0D%0D%0Ab%0Dc%0D%0A", cgiFormSuccess, "abc", 12},
           {"f=%0D%0A%0D", cgiFormEmpty, "", 4},
           {"f=", cgiFormEmpty, "", 1},
           {"f=%00abc", cgiFormEmpty, "", 1},
           {"f=abc%0Ad", cgiFormTruncated, "abc", 6},
           {"f=1&f=2222", cgiFormSuccess, "1", 2},
           {"F=1", cgiFormNotFound, "", 1},
       }) {
    request(row.fields);
    std::array<char, 4> copy;
    EXPECT_EQ(cgiFormStringNoNewlines("f", copy.data(), 4), row.result) << row.fields;
    EXPECT_EQ(copy.data(), row.text) << row.fields;
    int space = -1;
    const bool found = row.result != cgiFormNotFound;
    EXPECT_EQ(cgiFormStringSpaceNeeded("f", &space), found ? cgiFormSuccess : cgiFormNotFound) << row.fields;
    EXPECT_EQ(space, row.space) << row.fields;
  }
}

TEST(FormTexts, ArraysHoldAllValuesAndAllNames) {
  const std::string long_value(10'000, 'x');
  struct row {
    std::string fields;
    texts values, names;
  };
  for (const row& row : {
           row{"", {}, {}},
           {"b=1&a=2", {}, {"b", "a"}},
           {"f=1&g=2&f=&f=3%0D%0A%0A4&g", {"1", "", "3\n\n4"}, {"f", "g"}},
           {"z&f=" + long_value + "&F=1&z", {long_value}, {"z", "f", "F"}},
           {"%00=1&f=a%00b&%00x=2", {"a"}, {"", "f"}},
       }) {
    request(row.fields);
    char** array = nullptr;
    EXPECT_EQ(cgiFormStringMultiple("f", &array), row.values.empty() ? cgiFormNotFound : cgiFormSuccess);
    EXPECT_EQ(take(array), row.values) << row.fields;
    EXPECT_EQ(cgiFormEntries(&array), cgiFormSuccess);
    EXPECT_EQ(take(array), row.names) << row.fields;
  }
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

TEST(FormNumbers, AcceptWhatBeginsLikeANumber) {
  constexpr double default_value = 77;
  struct row {
    std::string_view fields;
    cgiFormResultType integer_result;
    int integer;
    cgiFormResultType double_result;
    double number;
  };
  for (const row& row : {
           row{"n=+42", cgiFormSuccess, 42, cgiFormSuccess, 42},
           {"n=%20%0A%0D%09-7.5e1x", cgiFormSuccess, -7, cgiFormSuccess, -75},
           {"n=%2B12abc", cgiFormSuccess, 12, cgiFormSuccess, 12},
           {"n=.5", cgiFormBadType, 77, cgiFormSuccess, 0.5},
           {"n=%0B5", cgiFormBadType, 77, cgiFormBadType, 77},
           {"n=abc", cgiFormBadType, 77, cgiFormBadType, 77},
           {"n=%20%20", cgiFormBadType, 77, cgiFormBadType, 77},
           {"n=-", cgiFormSuccess, 0, cgiFormSuccess, 0},
           {"n=%2B-5", cgiFormSuccess, 0, cgiFormSuccess, 0},
           {"n=.", cgiFormBadType, 77, cgiFormSuccess, 0},
           {"n=0x10", cgiFormSuccess, 0, cgiFormSuccess, 16},
           {"n=2147483648", cgiFormSuccess, 2147483647, cgiFormSuccess, 2147483648.0},
           {"n=-99999999999999999999", cgiFormSuccess, std::numeric_limits<int>::min(), cgiFormSuccess,
            -1e20},
           {"n=1e999", cgiFormSuccess, 1, cgiFormSuccess, std::numeric_limits<double>::infinity()},
           {"n=", cgiFormEmpty, 77, cgiFormEmpty, 77},
           {"n=%001", cgiFormEmpty, 77, cgiFormEmpty, 77},
           {"n=1&n=2", cgiFormSuccess, 1, cgiFormSuccess, 1},
           {"m=1", cgiFormNotFound, 77, cgiFormNotFound, 77},
       }) {
    request(row.fields);
    int integer = -1;
    double number = -1;
    EXPECT_EQ(cgiFormInteger("n", &integer, 77), row.integer_result) << row.fields;
    EXPECT_EQ(integer, row.integer) << row.fields;
    EXPECT_EQ(cgiFormDouble("n", &number, default_value), row.double_result) << row.fields;
    EXPECT_EQ(number, row.number) << row.fields;
  }
}

TEST(FormNumbers, BoundsAreInclusiveAndTheDefaultIsFree) {
  struct row {
    std::string_view fields;
    int min, max;
    cgiFormResultType result;
    int number;
  };
  for (const row& row : {
           row{"n=0", 1, 10, cgiFormConstrained, 1},
           {"n=1", 1, 10, cgiFormSuccess, 1},
           {"n=10", 1, 10, cgiFormSuccess, 10},
           {"n=11", 1, 10, cgiFormConstrained, 10},
           {"n=7", 10, 1, cgiFormConstrained, 10},
           {"n=", 1, 10, cgiFormEmpty, 77},
           {"n=x", 1, 10, cgiFormBadType, 77},
           {"", 1, 10, cgiFormNotFound, 77},
       }) {
    request(row.fields);
    int integer = -1;
    double number = -1;
    EXPECT_EQ(cgiFormIntegerBounded("n", &integer, row.min, row.max, 77), row.result) << row.fields;
    EXPECT_EQ(integer, row.number) << row.fields;
    EXPECT_EQ(cgiFormDoubleBounded("n", &number, row.min, row.max, 77), row.result) << row.fields;
    EXPECT_EQ(number, row.number) << row.fields;
  }
  request("n=%2Bnan");
  double number = 0;
  EXPECT_EQ(cgiFormDoubleBounded("n", &number, 1, 10, 77), cgiFormSuccess);
  EXPECT_TRUE(std::isnan(number));
}

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
           row{"f=1&f=2", cgiFormSuccess, 0, cgiFormSuccess, {1, 1, 0, 0}, 0},
           {"f=2&f=1&f=2&f=3", cgiFormSuccess, 1, cgiFormSuccess, {1, 1, 0, 0}, 1},
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

// Whatever the text and the limit: nothing behind the limit is touched, and what is copied is the beginning
// of the whole copy, all of it unless the result says that it was cut.
TEST(FormTexts, NoLimitIsEverExceeded) {
  struct row {
    const char* accessor;
    std::function<cgiFormResultType(char*, int)> copy;
  };
  const row accessors[] = {
      {"cgiFormString", [](char* out, int max) { return cgiFormString("f", out, max); }},
      {"cgiFormStringNoNewlines", [](char* out, int max) { return cgiFormStringNoNewlines("f", out, max); }},
      {"cgiFormFileName", [](char* out, int max) { return cgiFormFileName("u", out, max); }},
      {"cgiFormFileContentType", [](char* out, int max) { return cgiFormFileContentType("u", out, max); }},
      {"cgiCookieString", [](char* out, int max) { return cgiCookieString("c", out, max); }},
      {"cgiFormString without the field", [](char* out, int max) { return cgiFormString("no", out, max); }},
      {"cgiFormFileName without the field",
       [](char* out, int max) { return cgiFormFileName("no", out, max); }},
      {"cgiCookieString without the cookie",
       [](char* out, int max) { return cgiCookieString("no", out, max); }},
  };
  constexpr int rounds = 300;
  constexpr int size = 40;
  std::mt19937 random{14};
  for (int round = 0; round < rounds; ++round) {
    std::string text(random() % 30, '\0');
    for (char& byte : text) byte = "\r\n\r\nab \xFF"[random() % 8];
    append_field({"f", text});
    append_field({"u", "", text + "u", text});
    const std::string cookie = "x=1; c=" + text;
    cgiCookie = cookie.c_str();
    for (const auto& [accessor, copy] : accessors) {
      std::string whole(size, '#');
      ASSERT_NE(copy(whole.data(), size), cgiFormTruncated);
      whole.resize(whole.find('\0'));
      for (int max = -1; max < size; ++max) {
        std::string expected(size, '#');
        const auto kept = std::min(whole.size(), static_cast<std::size_t>(std::max(max - 1, 0)));
        if (max > 0) expected.replace(0, kept + 1, whole.substr(0, kept) + '\0');
        std::string got(size, '#');
        const bool cut = copy(got.data(), max) == cgiFormTruncated;
        ASSERT_EQ(got, expected) << accessor << " with a limit of " << max;
        ASSERT_EQ(cut, kept < whole.size()) << accessor << " with a limit of " << max;
      }
    }
    cgiFreeResources();
  }
}
