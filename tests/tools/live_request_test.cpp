#include "live_request.hpp"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <tuple>
#include <vector>

#include "cgi/multipart.hpp"
#include "cgi/state.hpp"
#include "cgi/urlencoded.hpp"
#include "support/fields.hpp"
#include "support/files.hpp"

namespace {

const std::string url_encoded = "application/x-www-form-urlencoded";
const std::string multipart = "multipart/form-data";

// Writes what the program would get as the body of the request; returns the reason why there is none.
std::string write_body(const std::string& type) {
  cgiRequestMethod = "POST";
  cgiContentType = type.c_str();
  std::FILE* file = std::fopen("/tmp/body", "we");
  std::string problem = write_live_body(file, "bb");
  std::fclose(file);
  return problem;
}

// The fields that the program decodes from the body.
std::vector<field> decoded(const std::string& type) {
  cgiFreeResources();
  const std::string body = read_file("/tmp/body");
  if (type == url_encoded) {
    EXPECT_EQ(cgiParseFormInput(body), cgiParseSuccess);
    return take_fields();
  }
  cgiIn = std::fopen("/tmp/body", "rbe");
  cgiContentLength = static_cast<std::int32_t>(body.size());
  cgiMultipartBoundary = "bb";
  EXPECT_EQ(cgiParsePostMultipartInput(), cgiParseSuccess);
  std::fclose(cgiIn);
  return take_fields();
}

}  // namespace

// If it fails, a replay sends a request that no client could have sent.
TEST(LiveRequest, IsRefusedWhenNoClientCanSendIt) {
  const std::string no_header = "a field whose texts no header can hold";
  using row = std::tuple<field, std::string, std::string>;
  for (const auto& [sent, type, problem] : {
           row{{"a\nb", ""}, multipart, no_header},
           {{"\"a;", ""}, multipart, no_header},
           {{"a", "", "f", "\""}, multipart, no_header},
           {{std::string(1009, 'n'), ""}, multipart, no_header},
           {{std::string(1008, 'n'), ""}, multipart, ""},
           {{";" + std::string(1007, 'n'), ""}, multipart, no_header},
           {{";" + std::string(1006, 'n'), ""}, multipart, ""},
           {{std::string(1008, 'n') + "\"", ""}, multipart, no_header},
           {{"a", "", "f"}, url_encoded, "an upload in a url-encoded request"},
       }) {
    append_field(sent);
    EXPECT_EQ(write_body(type), problem) << sent;
    if (problem.empty()) {
      EXPECT_EQ(decoded(type), std::vector<field>{sent});
    }
    cgiFreeResources();
  }
}

// If it fails, a replayed request has other fields than the captured one.
TEST(LiveRequest, RandomRequestsAreDecodedToTheSameFields) {
  constexpr int rounds = 2'000;
  std::mt19937 random{61};
  const auto text_of = [&random](std::string_view letters, std::size_t longest) {
    std::string text(random() % (longest + 1), '\0');
    for (char& byte : text) byte = letters[random() % letters.size()];
    return text;
  };
  // A text that came out of a header contains ";" or quotes, never both, and does not begin with a quote.
  const auto header_text = [&](std::size_t longest) {
    return random() % 2 == 0 ? text_of("ab;=: \t\\", longest) : "x" + text_of("ab\"=: \t\\", longest);
  };
  for (int round = 0; round < rounds; ++round) {
    const std::string type = random() % 2 == 0 ? multipart : url_encoded;
    std::vector<field> fields;
    for (std::size_t count = random() % 6; count > 0; --count) {
      const bool is_upload = type == multipart && random() % 2 == 0;
      fields.push_back({type == multipart ? header_text(8) : text_of("ab&=%+ \r\n", 8),
                        text_of("ab\r\n-&=%+;", 300), is_upload ? "f" + header_text(8) : "",
                        is_upload ? header_text(8) : ""});
      append_field(fields.back());
    }
    ASSERT_EQ(write_body(type), "");
    ASSERT_EQ(decoded(type), fields) << read_file("/tmp/body");
  }
}
