#include "discovery/api_message.hpp"

#include <gtest/gtest.h>

// If it fails, a listing shows the value of another key, or a cut one as whole.
TEST(ReplyValue, IsFoundByNameAnywhere) {
  struct row {
    const char* reply;
    std::size_t length;
    const char* value;
  };
  for (const row& row : {
           row{"UNIT.ID=U1&X=1", 2, "U1"},
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
