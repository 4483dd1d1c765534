#include "cgi/multipart.hpp"

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <memory>
#include <random>
#include <span>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "cgi/body_stream.hpp"
#include "cgi/boundary_search.hpp"
#include "cgi/header_lines.hpp"
#include "cgi/state.hpp"
#include "support/fields.hpp"
#include "support/files.hpp"

namespace {

// A stream that delivers the content in pieces of that many bytes, one a read; 0 for as much as is asked for.
std::FILE* input_of(const std::string& content, std::size_t piece) {
  if (piece == 0) {
    write_file("/tmp/body", content);
    return std::fopen("/tmp/body", "re");
  }
  std::array<int, 2> ends{};
  EXPECT_EQ(socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends.data()), 0);
  for (std::size_t place = 0; place < content.size(); place += piece) {
    const std::string packet = content.substr(place, piece);
    EXPECT_EQ(write(ends[1], packet.data(), packet.size()), static_cast<ssize_t>(packet.size()));
  }
  close(ends[1]);
  return fdopen(ends[0], "r");
}

// What a body is decoded to: the result and the fields.
using decoded = std::pair<int, std::vector<field>>;

decoded decode(const std::string& boundary, const std::string& body, std::size_t piece = 0) {
  cgiMultipartBoundary = boundary.c_str();
  cgiContentLength = static_cast<std::int32_t>(body.size());
  cgiIn = input_of(body + "never read", piece);
  decoded got{cgiParsePostMultipartInput(), {}};
  std::fclose(cgiIn);
  got.second = take_fields();
  return got;
}

// What a search takes off a stream in front of the boundary, and what it leaves; nothing after a failure.
struct found_text {
  int result;
  std::string before, rest;
  bool operator==(const found_text&) const = default;
};

// Searches a stream to which bytes were put back.
found_text search(cgiBoundary which, const std::string& boundary, const std::string& put_back,
                  const std::string& body, std::size_t piece) {
  const auto stream = std::make_unique<cgiBodyStream>();
  cgiMultipartBoundary = boundary.c_str();
  cgiContentLength = static_cast<std::int32_t>(body.size());
  cgiIn = input_of(body + "never read", piece);
  cgiBodyPutBack(*stream, put_back);
  growing_array<char> before;
  std::int32_t length = 0;
  const int result = cgiReadToBoundary(*stream, which, {.memory = &before}, length);
  std::string rest(put_back.size() + body.size(), '\0');
  rest.resize(cgiBodyRead(*stream, rest));
  std::fclose(cgiIn);
  if (result != cgiParseSuccess) return {result, "", ""};
  const std::span<char> bytes = before.items();
  EXPECT_EQ(length, static_cast<std::int32_t>(bytes.size()));
  return {result, {bytes.begin(), bytes.end()}, rest};
}

// The same search one byte at a time. Where the bytes differ, the pattern's first one is passed on, and the
// others wait after those that wait already.
found_text search_slowly(const std::string& pattern, std::string waiting, std::string body) {
  const auto read = [&](char& byte) {
    std::string& from = waiting.empty() ? body : waiting;
    if (from.empty()) return false;
    byte = from[0];
    from.erase(0, 1);
    return true;
  };
  std::string before;
  char byte = '\0';
  for (std::size_t matched = 0; matched < pattern.size();) {
    if (!read(byte)) return {cgiParseIO, "", ""};
    if (byte == pattern[matched]) {
      ++matched;
    } else if (matched == 0) {
      before += byte;
    } else {
      before += pattern[0];
      waiting += pattern.substr(1, matched - 1) + byte;
      matched = 0;
    }
  }
  char second = '\0';
  if (!read(byte) || !read(second)) return {cgiParseIO, "", ""};
  if (byte == '-') waiting += std::string{byte, second};
  return {cgiParseSuccess, before, waiting + body};
}

// One part as a client writes it, up to its boundary.
std::string part(const std::string& parameters, const std::string& value, const std::string& more = "") {
  return "Content-Disposition: form-data; " + parameters + "\r\n" + more + "\r\n" + value + "\r\n--b";
}

}  // namespace

// If it fails, a client's fields arrive with other names, bytes or types, or not at all.
TEST(Multipart, BodiesBecomeFields) {
  const std::string content("a\0b\0", 4);
  const std::string long_text(1100, 'x');
  const std::string other = "--b\r\nContent-Disposition: ";
  using row = std::tuple<std::string, decoded>;
  for (const auto& [body, expected] : {
           row{"preamble--b\r\n" + part("name=\"a\"", "1") + "\r\n" +
                   part("name=f; filename=\"a;b:c\\\"", content, "Content-Type: image/x; q=1\r\n") +
                   "--\r\nepilogue --b",
               {0, {{"a", "1"}, {"f", content, "a;b:c\\", "image/x"}}}},
           // Headers in any letter case and order; unknown ones and long lines are read over.
           {"--b\r\nX-" + long_text + ": " + long_text + "\r\ncONTENT-tYPE: text/x\r\n" +
                part("NAME=a", "1", "content - TYPE:t\n") + "--",
            {0, {{"a", "1", "", "t"}}}},
           // Only form-data counts, and a blank after it belongs to it.
           {other + "attachment; name=a\r\n\r\n1\r\n" + other + "form-data ; name=a\r\n\r\n1\r\n--b--",
            {0, {}}},
           // After a boundary "--" closes the body. Another two bytes with "-" in front belong to the next
           // part, any others are dropped.
           {"--b\r\nx", {0, {}}},
           {"--b-x: y\r\n" + part("name=a", "1") + "xy" + part("name=b", "2") + "--",
            {0, {{"a", "1"}, {"b", "2"}}}},
       }) {
    for (const std::size_t piece : {0U, 20U}) {
      EXPECT_EQ(decode("b", body, piece), expected) << body << piece;
    }
  }
}

// If it fails, a program that decodes from its own memory (no descriptor) gets no fields.
TEST(Multipart, AStreamWithoutADescriptorIsReadAll) {
  std::string body = "--b\r\n" + part("name=a", "1") + "--\r\n";
  cgiMultipartBoundary = "b";
  cgiContentLength = static_cast<std::int32_t>(body.size());
  cgiIn = fmemopen(body.data(), body.size(), "r");
  EXPECT_EQ(cgiParsePostMultipartInput(), cgiParseSuccess);
  std::fclose(cgiIn);
  EXPECT_EQ(take_fields(), (std::vector<field>{{"a", "1"}}));
}

// If it fails, the fast searches lose or invent bytes of an upload, or end it at a place that only looks like
// the boundary. In the preamble, a boundary that overlaps such a place is missed on purpose.
TEST(BoundarySearch, FindsWhatTheSlowSearchFinds) {
  std::mt19937 random{19};
  const auto below = [&random](std::size_t limit) { return random() % limit; };
  const std::array<std::string, 8> boundaries{"b", "X--Y", "--A", "-", "", "aab", "A--AB", "-A-A-B"};
  const std::string bytes("\r\n-x\0", 5);
  for (int round = 0; round < 20'000; ++round) {
    const std::string& boundary = boundaries[below(boundaries.size())];
    const std::string line = "\r\n--" + boundary;
    const auto text = [&](std::size_t count) {
      std::string made;
      for (; count > 0; --count) {
        made += below(2) == 0   ? bytes.substr(below(bytes.size()), 1)
                : below(4) == 0 ? line
                                : line.substr(below(3), below(line.size() + 1));
      }
      return made;
    };
    const bool is_first = below(2) == 0;
    const std::string put_back = text(below(3));
    const std::string body = text(below(40));
    ASSERT_EQ(
        search(is_first ? cgiBoundary::first : cgiBoundary::next, boundary, put_back, body, below(4) * 3),
        search_slowly(line.substr(is_first ? 2 : 0), put_back, body))
        << "round " << round << ", boundary " << boundary << ", body\n"
        << testing::PrintToString(put_back + "|" + body);
  }
}

// If it fails, the name or the type of a part is read wrong, or bytes of its content are taken for a header.
TEST(HeaderLine, IsANameAColonAndAValue) {
  using row = std::tuple<std::string, int, lines>;
  for (const auto& [input, result, texts] : {
           row{"Name: value\r\nrest", cgiParseSuccess, {"Name", "value", "rest"}},
           {"N a\tm : \t\r\n a: b\nrest", cgiParseSuccess, {"Nam", "a: b", "rest"}},
           {"A:b\rc", cgiParseSuccess, {"A", "b", "c"}},
           {"LongNames: long value\n", cgiParseSuccess, {"LongNam", "long va", ""}},
           {":a:b\r\nrest", cgiParseIO, {":a:b", "", "rest"}},
           {"no colon\r\nrest", cgiParseIO, {"nocolon", "", "rest"}},
           {"\r\nA:b", cgiParseIO, {"", "", "A:b"}},
           {"A:", cgiParseIO, {"A", "", ""}},
       }) {
    const auto stream = std::make_unique<cgiBodyStream>();
    cgiContentLength = static_cast<std::int32_t>(input.size());
    cgiIn = input_of(input, 0);
    std::array<char, 8> name, value, rest{};
    EXPECT_EQ(cgiReadHeaderLine(*stream, name, value), result) << input;
    cgiBodyRead(*stream, rest);
    std::fclose(cgiIn);
    EXPECT_EQ((lines{name.data(), value.data(), rest.data()}), texts) << input;
  }
}

// If it fails, an upload is cut or loses bytes where a look-alike of its boundary crosses two blocks.
TEST(Multipart, LookAlikesCrossTheEdgesOfBlocks) {
  constexpr std::size_t edge = cgiBodyStream::block_size;
  const std::string head = "--b\r\nContent-Disposition: form-data; name=f; filename=f\r\n\r\n";
  for (const std::string like : {"\r\n--c", "\r\r\n--", "\r\n-\r\n--\r\n--"}) {
    for (std::size_t before = edge - like.size() - 8; before <= edge + 2; ++before) {
      const std::string content = std::string(before - head.size(), '-') + like + std::string(edge, '\r');
      const decoded got = decode("b", head + content + "\r\n--b--");
      ASSERT_TRUE(got == (decoded{0, {{"f", content, "f", ""}}})) << like << " at " << before;
    }
  }
  const decoded field = decode("b", "--b\r\n" + part("name=a", std::string(300'000, '\r')) + "--");
  EXPECT_TRUE(field == (decoded{0, {{"a", std::string(300'000, '\r')}}}));
}

// If it fails, an update starts while services hold memory, or other uploads stop them.
TEST(Multipart, APartOfFifteenBytesStopsTheServices) {
  plant_tool("killall", "echo killall $* >> /var/log/tools.log");
  setenv("PATH", "/usr/local/bin:/bin", 1);
  const std::string fifteen = "\r\n\"fifteen by\n\n";
  for (const std::string& body :
       {part("name=a", "UPDATE_FIRMWAR") + "--", part("name=a", "UPDATE_FIRMWARE_") + "--",
        part("name=a", fifteen), "Content-Disposition: attachment\r\n\r\n" + fifteen + "\r\n--b--",
        part("name=a", fifteen) + "--", part("name=f; filename=f", fifteen) + "--"}) {
    decode("b", "--b\r\n" + body);
  }
  for (int look = 0; look < 1000 && tool_calls().size() < 2; ++look) usleep(10'000);
  usleep(300'000);
  EXPECT_EQ(tool_calls(), lines(2, "killall thumber vapi soip2 kest node_responser"));
}

// If it fails, a file name with ";" or quotes arrives cut, or a parameter is taken for another.
TEST(HeaderValue, IsSplitAtSemicolonsOutsideQuotes) {
  struct row {
    std::string header;
    lines texts;  // main, name, file name
  };
  for (const row& row : {
           row{" \t form-data ; name=a", {"form-data ", "a", ""}},
           {"\"quoted;main\"rest; name=a", {"quoted;main", "a", ""}},
           {"\"open; name=a", {"open; name=", "", ""}},
           {"m;name=\"a;b\" rest;filename = \t c d ", {"m", "a;b", "c d "}},
           {"m; Name=a; FILENAME=b; name=c", {"m", "c", "b"}},
           {"m; x=\"name=n;\"; name=a", {"m", "a", ""}},
           {"m; filename*=utf-8''x; name=a", {"m", "", ""}},
           {"m; name; filename=f", {"m", "", ""}},
           {"m; name=; filename=\"open", {"m", "", "open"}},
           {"m; name=12345678901; filename=123456789012", {"m", "12345678901", "12345678901"}},
       }) {
    std::array<std::array<char, 12>, 3> texts;
    const std::array<cgiHeaderParameter, 3> parameters{
        {{"name", texts[1]}, {"x", {}}, {"filename", texts[2]}}};
    cgiSplitHeaderValue(row.header, texts[0], parameters);
    EXPECT_EQ((lines{texts[0].data(), texts[1].data(), texts[2].data()}), row.texts) << row.header;
  }
}

// If it fails, bytes of a body are lost or swapped where the ring of returned bytes wraps.
TEST(BodyStream, DeliversWhatWasPutBackAroundItsRing) {
  const auto stream = std::make_unique<cgiBodyStream>();
  for (const std::string& bytes : {std::string(700, 'a'), std::string(1022, 'b') + "c"}) {
    std::string got(2000, '#');
    cgiBodyPutBack(*stream, bytes);
    got.resize(cgiBodyRead(*stream, got));
    EXPECT_EQ(got, bytes);
  }
  EXPECT_EQ(stream->offset, 0);
}
