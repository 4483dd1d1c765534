#include "discovery/api_message.hpp"

#include <gtest/gtest.h>

#include <string>

TEST(ApiRequest, IsBuiltInOrder) {
  api_request request{"K1"};
  request.add("UNIT.SET_ID", "Room 1");
  request.add("AUDIO.MUTE", "");
  EXPECT_TRUE(request.finish());
  EXPECT_EQ(request.text(), "CMD=START&UNIT.ID=K1&UNIT.SET_ID=Room 1&AUDIO.MUTE=&CMD=END");
}

TEST(ApiRequest, OneBytePastItsLimitIsNotWhole) {
  const std::size_t around = std::string{"CMD=START&UNIT.ID=&K=&CMD=END"}.size();
  api_request longest{""};
  longest.add("K", std::string(2047 - around, 'v'));
  EXPECT_TRUE(longest.finish());
  EXPECT_EQ(longest.text().size(), 2047U);
  api_request longer{""};
  longer.add("K", std::string(2048 - around, 'v'));
  EXPECT_FALSE(longer.finish());
  api_request much_longer{""};
  much_longer.add("K", std::string(5000, 'v'));
  EXPECT_FALSE(much_longer.finish());
}

TEST(ReplyPairs, OnlySegmentsBeforeAnAmpersandAreTaken) {
  const std::string key63(63, 'k');
  const std::string value62(62, 'v');
  struct row {
    std::string reply;
    std::string pairs;  // key=value of each, followed by ";"; "-" for a skipped segment
  };
  for (const row& row : {
           row{"", ""},
           {"UNIT.ID=U&IP.ADDRESS=1", "UNIT.ID=U;"},
           {"a=1&b=2&", "a=1;b=2;"},
           {"a=b=c&", "a=b=c;"},
           {"&a=1&", "&a=;a=1;"},
           {"none&a=1&", "none&a=;a=1;"},
           {"none&", "-"},
           {"=x&", "=x;"},
           {key63 + "=1&", key63 + "=1;"},
           {key63 + "k=1&", "-"},
           {"a=" + value62 + "&", "a=" + value62 + ";"},
           {"a=" + value62 + "v&", "a=;"},
       }) {
    std::string pairs;
    std::string_view rest = row.reply;
    for (;;) {
      reply_pair pair;
      const reply_segment segment = take_reply_pair(rest, pair);
      if (segment == reply_segment::none) break;
      pairs += segment == reply_segment::skipped ? "-"
                                                 : std::string{pair.key}.append("=").append(pair.value) + ";";
    }
    EXPECT_EQ(pairs, row.pairs) << row.reply;
  }
}

TEST(ReplyValue, IsFoundByNameAnywhere) {
  struct row {
    const char* reply;
    std::size_t length;
    const char* value;
  };
  for (const row& row : {
           row{"UNIT.ID=U1&X=1", 2, "U1"},
           {"X=1&UNIT.ID=U1", 2, "U1"},
           {"OLD.UNIT.ID:U1&UNIT.ID=U2", 2, "U1"},
           {"UNIT.ID&X=1", 3, "X=1"},
           {"UNIT.ID=&X=1", 0, ""},
           {"UNIT.ID", 0, ""},
           {"unit.id=U1", 0, "kept"},
           {"UNIT.ID=12345678", 7, "1234567"},
       }) {
    fixed_text<8> value;
    value.assign_cut("kept");
    EXPECT_EQ(get_reply_value(row.reply, "UNIT.ID", value), row.length) << row.reply;
    EXPECT_EQ(value.view(), row.value) << row.reply;
  }
}

TEST(Acknowledgement, HoldsAMarkerAnywhere) {
  EXPECT_TRUE(is_success_reply("X=1&API=SUCCESS&Y=2"));
  EXPECT_TRUE(is_success_reply("X=1&API.STATUS=SUCCESS"));
  EXPECT_FALSE(is_success_reply("API=FAIL&API.STATUS=success"));
  EXPECT_FALSE(is_success_reply(""));
}
