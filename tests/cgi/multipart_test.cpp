#include "cgi/multipart.hpp"

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <deque>
#include <memory>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "cgi/body_stream.hpp"
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

// The rules of the decoder once more, byte by byte as they are told, for bodies that no table thinks of.
class byte_decoder {
 public:
  byte_decoder(const std::string& boundary, std::string body) : boundary_(boundary), body_(std::move(body)) {}

  decoded run() {
    std::string dropped;
    if (!to_boundary("--" + boundary_, dropped)) return {cgiParseSuccess, {}};
    std::vector<field> fields;
    for (;;) {
      const int first = read();
      const int second = read();
      if (second < 0 || (first == '-' && second == '-')) return {cgiParseSuccess, fields};
      put_back(first);
      put_back(second);
      if (!part(fields)) return {cgiParseIO, fields};
    }
  }

 private:
  int read() {
    if (ring_.empty() && place_ == body_.size()) return -1;
    if (ring_.empty()) return static_cast<unsigned char>(body_[place_++]);
    const int byte = ring_.front();
    ring_.pop_front();
    return byte;
  }
  void put_back(int byte) { ring_.push_back(byte); }

  bool part(std::vector<field>& fields) {
    std::array<std::array<char, 1024>, 4> texts{};
    const auto& [disposition, field_name, file_name, type] = texts;
    std::string name;
    for (std::string value; header(name, value); name.clear(), value.clear()) {
      if (cgiStrEqNc(name.c_str(), "content-type") != 0) cgiSplitHeaderValue(value.c_str(), texts[3], {});
      if (cgiStrEqNc(name.c_str(), "content-disposition") == 0) continue;
      cgiSplitHeaderValue(value.c_str(), texts[0],
                          std::array<cgiHeaderParameter, 2>{{{"name", texts[1]}, {"filename", texts[2]}}});
    }
    field read_field{field_name.data(), "", file_name.data(), type.data()};
    if (!to_boundary("\r\n--" + boundary_, read_field.value)) return false;
    if (cgiStrEqNc(disposition.data(), "form-data") != 0) fields.push_back(read_field);
    return true;
  }

  bool header(std::string& name, std::string& value) {
    bool in_value = false;
    bool colon_seen = false;
    for (int byte = read(); byte >= 0 && byte != '\n'; byte = read()) {
      if (byte == '\r') {
        const int next = read();
        if (next >= 0 && next != '\n') put_back(next);
        break;
      }
      if (in_value) {
        value += static_cast<char>(byte);
      } else if (byte == ':' && !name.empty() && !colon_seen) {
        in_value = true;
        int next = read();
        while (next == ' ' || (next >= 9 && next <= 13)) next = read();
        if (next >= 0) put_back(next);
      } else if (byte != ' ' && (byte < 9 || byte > 13)) {
        colon_seen = colon_seen || byte == ':';
        name += static_cast<char>(byte);
      }
    }
    return !name.empty() && !value.empty();
  }

  bool to_boundary(const std::string& pattern, std::string& out) {
    std::size_t matched = 0;
    while (matched < pattern.size()) {
      const int byte = read();
      if (byte < 0) return false;
      if (byte == pattern[matched]) {
        ++matched;
      } else if (matched > 0) {
        out += pattern[0];
        for (std::size_t i = 1; i < matched; ++i) put_back(pattern[i]);
        put_back(byte);
        matched = 0;
      } else {
        out += static_cast<char>(byte);
      }
    }
    const int first = read();
    const int second = read();
    if (second < 0) return false;
    if (first == '-') {
      put_back(first);
      put_back(second);
    }
    return true;
  }

  std::string boundary_, body_;
  std::size_t place_ = 0;
  std::deque<int> ring_;
};

// One part as a client writes it, up to its boundary.
std::string part(const std::string& parameters, const std::string& value, const std::string& more = "") {
  return "Content-Disposition: form-data; " + parameters + "\r\n" + more + "\r\n" + value + "\r\n--b";
}

}  // namespace

TEST(Multipart, BodiesBecomeFields) {
  const std::string content("a\0b\0", 4);
  const std::string long_text(1100, 'x');
  const std::string other = "--b\r\nContent-Disposition: ";
  struct row {
    std::string body;
    decoded expected;
  };
  for (const row& row : {
           row{"preamble--b\r\n" + part("name=\"a\"", "1") + "\r\n" +
                   part("name=f; filename=\"a;b:c\\\"", content, "Content-Type: image/x; q=1\r\n") +
                   "--\r\nepilogue --b",
               {0, {{"a", "1"}, {"f", content, "a;b:c\\", "image/x"}}}},
           // Headers in any letter case and order; unknown ones and long lines are read over.
           {"--b\r\nX-" + long_text + ": " + long_text + "\r\ncONTENT-tYPE: text/x\r\n" +
                part("NAME=a", "1", "content - TYPE:t\n") + "--",
            {0, {{"a", "1", "", "t"}}}},
           // Only form-data counts, and a blank behind it belongs to it.
           {other + "attachment; name=a\r\n\r\n1\r\n" + other + "form-data ; name=a\r\n\r\n1\r\n--b--",
            {0, {}}},
       }) {
    EXPECT_EQ(decode("b", row.body), row.expected) << row.body;
  }
}

// A program may hand its own stream to the decoder, one in its memory for example.
TEST(Multipart, AStreamWithoutADescriptorIsReadAll) {
  std::string body = "--b\r\nContent-Disposition: form-data; name=a\r\n\r\n1\r\n--b--\r\n";
  cgiMultipartBoundary = "b";
  cgiContentLength = static_cast<std::int32_t>(body.size());
  cgiIn = fmemopen(body.data(), body.size(), "r");
  EXPECT_EQ(cgiParsePostMultipartInput(), cgiParseSuccess);
  std::fclose(cgiIn);
  EXPECT_EQ(take_fields(), (std::vector<field>{{"a", "1"}}));
}

// Boundaries too that overlap a look-alike of theirs in the preamble: such a one is not seen, because what was
// put back waits behind what still waits, and the next one counts as the first.
TEST(Multipart, GivesWhatTheByteRulesGive) {
  constexpr int rounds = 20'000;
  std::mt19937 random{19};
  const auto below = [&random](std::size_t limit) { return random() % limit; };
  const std::array<std::string, 8> boundaries{"b", "X--Y", "--A", "-", "", "aab", "A--AB", "-A-A-B"};
  const std::string bytes("\r\n-x: \"\0", 8);
  for (int round = 0; round < rounds; ++round) {
    const std::string& boundary = boundaries[below(boundaries.size())];
    const std::string line = "\r\n--" + boundary;
    const std::array<std::string, 9> tokens{"--" + boundary,
                                            line + "\r\n",
                                            line,
                                            "\r\n\r\n",
                                            "Content-Disposition: form-data; name=a",
                                            "; filename=f\r\nContent-Type: t",
                                            "; filename=f\r\n\r\n",
                                            boundary.substr(0, below(boundary.size() + 1)),
                                            line.substr(0, below(line.size() + 1))};
    std::string body = below(2) == 0 ? "" : "--" + boundary + "\r\n";
    for (std::size_t count = below(30); count > 0; --count) {
      body += below(2) == 0 ? bytes.substr(below(bytes.size()), 1) : tokens[below(tokens.size())];
    }
    ASSERT_EQ(decode(boundary, body, below(4) * 3), byte_decoder(boundary, body).run())
        << "round " << round << ", boundary " << boundary << ", body\n"
        << testing::PrintToString(body);
  }
}

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
