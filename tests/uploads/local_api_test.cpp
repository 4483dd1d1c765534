#include "uploads/local_api.hpp"

#include <gtest/gtest.h>
#include <sys/resource.h>

#include <string>
#include <vector>

#include "support/fake_network.hpp"
#include "support/files.hpp"
#include "uploads/uploads_state.hpp"

namespace {

const std::string timed_out = "&HANDLER=INTERNAL_REPLY_ERROR_x:-1_errno:11";

}  // namespace

// If it fails, an EDID upload misses a late failure of the API, or waits for datagrams in vain.
TEST(LocalApi, RepliesContinueAfterAnAmpersandForUpToFiveDatagrams) {
  const std::string full(1500, 'f');
  const std::string whole = std::string(1499, 'w') + "&";
  struct row {
    std::vector<std::string> datagrams;
    int result;
    std::string reply;
  };
  const std::vector<row> rows{
      {{"A=1&", "B=2&", "C=3", "D=4"}, 0, "A=1&B=2&C=3"},
      {{"1&", "2&", "3&", "4&", "5&", "6&"}, 0, "1&2&3&4&5&"},
      {{"A=1&", "B=2&"}, -1, "A=1&B=2&" + timed_out},
      {{std::string("A=1\0B=2&", 8), "C=3"}, 0, "A=1"},
      {{std::string("A=1&\0B", 6), "C=3"}, 0, "A=1&C=3"},
      {{}, -1, timed_out},
      {{full + "&", "B=2"}, 0, full},
      {{whole, whole, "end"}, 0, whole + whole + "end"},
  };
  std::vector<std::vector<std::string>> script;
  for (const row& row : rows) script.push_back(row.datagrams);
  fake_service service{script};
  lines messages;
  std::string replies;
  for (std::size_t i = 0; i < rows.size(); ++i) {
    messages.push_back("message " + std::to_string(i));
    EXPECT_EQ(send_local_api_command(messages.back()), rows[i].result) << i;
    // Replies follow each other without anything in between, up to the limit of the text.
    replies = (replies + rows[i].reply).substr(0, 4095);
    EXPECT_EQ(api_reply_text.view(), replies) << i;
  }
  EXPECT_EQ(service.end(), messages);
}

// If it fails, an empty answer of the API passes for success.
TEST(LocalApi, AnEmptyDatagramIsAFailure) {
  fake_service service{{{"A=1&", "", "B=2"}}};
  EXPECT_EQ(send_local_api_command("message"), -1);
  const std::string marker = "A=1&&HANDLER=INTERNAL_REPLY_ERROR_x:0_errno:";
  EXPECT_EQ(api_reply_text.view().substr(0, marker.size()), marker);
}

// If it fails, a message that never left costs its client the whole time-out, or passes for sent.
TEST(LocalApi, WhatCannotBeSentIsNotWaitedFor) {
  EXPECT_EQ(send_local_api_command(""), 0);
  EXPECT_EQ(send_local_api_command(std::string(70'000, 'm')), -1);
  rlimit descriptors{};
  getrlimit(RLIMIT_NOFILE, &descriptors);
  const rlimit none{0, descriptors.rlim_max};
  setrlimit(RLIMIT_NOFILE, &none);
  const int result = send_local_api_command("message");
  setrlimit(RLIMIT_NOFILE, &descriptors);
  EXPECT_EQ(result, -1);
  EXPECT_EQ(api_reply_text.view(),
            "&CMD=null&HANDLER=INTERNAL_SEND_ERROR"
            "&HANDLER=SETSOCKOPT_ERROR_-1_9&HANDLER=INTERNAL_SEND_ERROR");
}
