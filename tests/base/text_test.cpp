#include "base/text.hpp"

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <limits>
#include <string>
#include <tuple>

#include "base/files.hpp"
#include "base/fixed_text.hpp"
#include "support/files.hpp"

// If it fails, a parameter beyond the integers wraps around.
TEST(Text, LeadingNumber) {
  using row = std::tuple<const char*, std::int32_t, std::int32_t>;
  constexpr std::int32_t most = std::numeric_limits<std::int32_t>::max();
  for (const auto& [text, number, without_sign] : {
           row{"", 0, 0},
           {"word", 0, 0},
           {" \t7", 7, 7},
           {"12abc", 12, 12},
           {"-3", -3, 0},
           {"+3", 3, 0},
           {"2147483647", most, most},
           {"2147483648", most, most},
           {"-99999999999999999999999999", std::numeric_limits<std::int32_t>::min(), 0},
       }) {
    EXPECT_EQ(leading_number(text), number) << text;
    EXPECT_EQ(leading_digits(text), without_sign) << text;
  }
}

// If it fails, two different keys or names are taken for one.
TEST(Text, EqualNoCaseFoldsAsciiLettersOnly) {
  EXPECT_FALSE(equal_no_case("[", "{"));
  EXPECT_FALSE(equal_no_case("\xC4", "\xE4"));
}

// If it fails, a text overruns its buffer, or a long one is refused where it should be cut.
TEST(FixedText, CutsOrRefusesAtItsLimit) {
  fixed_text<4> text;
  EXPECT_TRUE(text.assign_if_fits("abc"));
  EXPECT_FALSE(text.assign_if_fits("wxyz"));
  EXPECT_EQ(text.view(), "abc");
  text.assign_cut("wxyz");
  EXPECT_EQ(text.view(), "wxy");
  text.print("%d", 12345);
  EXPECT_EQ(text.view(), "123");
  text.assign_cut(std::string_view{"a\0b", 3});
  EXPECT_EQ(std::string(text.buffer().begin(), text.buffer().end()), std::string("a\0\0\0", 4));
}

// If it fails, lines of a file are lost or joined after a long line or a zero byte.
TEST(Files, LongLinesComeInPiecesZeroBytesCounted) {
  write_file("/tmp/lines", std::string{"ab\0\ncdefg\nh", 11});
  const unique_file file = open_for_reading("/tmp/lines");
  std::array<char, 4> line;
  lines pieces;
  while (const std::size_t length = read_line(file.get(), line)) pieces.emplace_back(line.data(), length);
  EXPECT_EQ(pieces, (lines{{"ab\0", 3}, "\n", "cde", "fg\n", "h"}));
}
