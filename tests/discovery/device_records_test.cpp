// Columns, records, and answers that arrive in pieces.

#include "discovery/device_records.hpp"

#include <gtest/gtest.h>

#include <map>
#include <random>
#include <string>
#include <vector>

#include "discovery/column_list.hpp"
#include "discovery/discovery_state.hpp"
#include "discovery/record_table.hpp"

namespace {

std::string row_text(int columns, const record_table& records, int row) {
  std::string text;
  for (int column = 0; column < columns; ++column) {
    text += records.holds(row, column) ? "[" + std::string{records.value(row, column)} + "]" : "-";
  }
  return text;
}

std::mt19937 random_number{20261125};

std::size_t pick(std::size_t count) {
  return random_number() % count;
}

// What a unit may send, and what it should not.
std::string random_answer() {
  static const std::vector<std::string> pieces{"A=", "B=",   "&",     "&",    "=",  "UNIT.MODEL=RX610&",
                                               "v1", "x&B=", "TX610", "A&B=", "&&", "unit.model=tx620&"};
  std::string text;
  for (std::size_t count = pick(40); count > 0; --count) text += pieces[pick(pieces.size())];
  if (pick(8) == 0) text.insert(pick(text.size() + 1), std::string(pick(2100), 'y'));
  if (pick(8) == 0) text.insert(pick(text.size() + 1), 1, '\0');
  return text;
}

}  // namespace

// If it fails, a value goes to another column, or one of two equal columns changes places with the other.
TEST(ColumnList, FindsTheFirstOfEqualKeys) {
  column_list columns;
  std::map<std::string, int> first;
  for (int i = 0; i < column_list::most_columns; ++i) {
    const std::string key = std::string(1 + pick(4), 'a') + std::to_string(pick(60));
    first.emplace(key, i);
    ASSERT_EQ(columns.add(key, static_cast<std::uint16_t>(i)), i);
  }
  for (const auto& [key, column] : first) {
    EXPECT_EQ(columns.find(key), column) << key;
    EXPECT_EQ(columns.classes(column), column);
  }
  EXPECT_EQ(columns.find("A1"), column_list::none);
  EXPECT_EQ(columns.find(""), column_list::none);
  EXPECT_EQ(columns.add("b", 0), column_list::none) << "there is no column left";
  columns.clear();
  EXPECT_EQ(columns.find(first.begin()->first), column_list::none);
  EXPECT_EQ(columns.add(std::string(64, 'k'), 0), column_list::none);
  EXPECT_EQ(columns.add(std::string(63, 'k'), 0), 0);
  EXPECT_EQ(columns.add("Key", 0), 1);
  EXPECT_EQ(columns.find_no_case("kEY"), 1);
  EXPECT_EQ(columns.find_no_case("kEY", 2), column_list::none);
}

// If it fails, values of units are lost, cut, or mixed up between records.
TEST(RecordTable, KeepsWhatIsSet) {
  record_table records;
  EXPECT_FALSE(records);
  records.start(3);
  ASSERT_TRUE(records.append_row() && records.append_row());
  const std::string v63(63, 'v');
  EXPECT_TRUE(records.set(0, 0, v63) && records.set(0, 1, "") && records.set(1, 0, "b"));
  EXPECT_TRUE(records.set(1, 0, "") && records.set(1, 0, v63 + "v"));
  records.set_part(1, 2, records.text().substr(0, 5));
  EXPECT_EQ(row_text(3, records, 0), "[" + v63 + "][]-");
  EXPECT_EQ(row_text(3, records, 1), "[b]-[vvvvv]");
  records.add_flags(1, 0x10);
  records.add_flags(1, 0x200);
  EXPECT_EQ(records.flags(1), 0x210);
  EXPECT_EQ(records.flags(0), 0);
  records.release();
  EXPECT_EQ(records.rows(), 0);
}

// If it fails, a unit loses settings in the CSV because of where its datagrams end. What counts is the first
// 2048 bytes up to a zero byte.
TEST(ArrivingAnswers, PiecesGiveWhatTheWholeTextGives) {
  for (const char* key : {"A", "B", "A&B"}) key_header_table.add(key, 0);
  device_count = 1;
  for (int round = 0; round < 3'000; ++round) {
    const std::string text = random_answer();
    encoder_count = decoder_count = 0;
    kvp_alloc();
    kvp_parse_reply(text.substr(0, 2048).c_str());
    const std::string whole = row_text(key_header_table.size(), kvp_table, 0);
    const int encoders = encoder_count;
    const int decoders = decoder_count;

    encoder_count = decoder_count = 0;
    record_table records;
    records.start(key_header_table.size());
    arriving_answers answers{key_header_table, records};
    answers.add_unit();
    const std::size_t longest = 1 + pick(60);
    for (std::size_t at = 0; at < text.size();) {
      const std::string piece = text.substr(at, 1 + pick(longest));
      answers.add(0, piece);
      at += piece.size();
    }
    EXPECT_EQ(row_text(key_header_table.size(), records, 0), whole) << text;
    EXPECT_EQ(encoder_count, encoders) << text;
    EXPECT_EQ(decoder_count, decoders) << text;
  }
}
