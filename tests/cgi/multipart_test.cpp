#include "cgi/multipart.hpp"

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <deque>
#include <memory>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "cgi/state.hpp"
#include "support/fields.hpp"
#include "support/files.hpp"
#include "support/program.hpp"

namespace {

// A stream that delivers the content in pieces of that many bytes, one a read; 0 for as much as is asked for.
std::FILE* input_of(const std::string& content, std::size_t piece) {
  if (piece == 0) {
    const int file = memfd_create("body", MFD_CLOEXEC);
    EXPECT_EQ(write(file, content.data(), content.size()), static_cast<ssize_t>(content.size()));
    lseek(file, 0, SEEK_SET);
    return fdopen(file, "r");
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

// What a body is decoded to.
struct decoded {
  int result;
  std::vector<field> fields;
  bool operator==(const decoded&) const = default;
};

std::ostream& operator<<(std::ostream& out, const decoded& got) {
  out << "result " << got.result;
  for (const field& each : got.fields) out << " " << each;
  return out;
}

decoded decode(const std::string& boundary, const std::string& body, std::size_t piece = 0) {
  cgiMultipartBoundary = boundary.c_str();
  cgiContentLength = static_cast<std::int32_t>(body.size());
  cgiIn = input_of(body + "never read", piece);
  decoded got{cgiParsePostMultipartInput(), {}};
  std::fclose(cgiIn);
  got.fields = take_fields();
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
    field read_field;
    std::string disposition;
    std::string name;
    for (std::string value; header(name, value); name.clear(), value.clear()) {
      if (cgiStrEqNc(name.c_str(), "content-disposition") == 0) continue;
      std::array<char, 1024> main;
      std::array<char, 1024> field_name;
      std::array<char, 1024> file_name;
      const std::array<cgiHeaderParameter, 2> parameters{{{"name", field_name}, {"filename", file_name}}};
      cgiSplitHeaderValue(value.c_str(), main, parameters);
      disposition = main.data();
      read_field.name = field_name.data();
      read_field.file_name = file_name.data();
    }
    if (!to_boundary("\r\n--" + boundary_, read_field.value)) return false;
    if (cgiStrEqNc(disposition.c_str(), "form-data") != 0) fields.push_back(read_field);
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
  const std::string zero("a\0b\0", 4);
  const std::string long_text(1100, 'x');
  struct row {
    std::string body;
    decoded expected;
  };
  for (const row& row : {
           row{"", {0, {}}},
           {"no boundary", {0, {}}},
           {"--b", {0, {}}},
           {"--b--", {0, {}}},
           {"\r\n--b--\r\n", {0, {}}},
           {"--b\r\n" + part("name=\"a\"", "1") + "--", {0, {{"a", "1"}}}},
           {"preamble--b\r\n" + part("name=a", "1") + "\r\n" + part("name=a", "2") + "--\r\nepilogue --b",
            {0, {{"a", "1"}, {"a", "2"}}}},
           {"--bxx" + part("name=a", "1") + "yy" + part("name=b", "") + "--", {0, {{"a", "1"}, {"b", ""}}}},
           {"--b\r\n" + part("name=a", zero) + "--", {0, {{"a", zero}}}},
           {"--b\r\n" + part("filename=\"\"; name=f", "v") + "--", {0, {{"f", "v"}}}},
           {"--b\r\n" + part("name=f; filename=\"a;b:c\\\"", zero, "Content-Type: image/x; q=1\r\n") + "--",
            {0, {{"f", zero, "a;b:c\\", "image/x"}}}},
           {"--b\r\n" + part("filename=" + long_text, "") + "--",
            {0, {{"", "", long_text.substr(0, 1023 - std::string("form-data; filename=").size()), ""}}}},
           // Headers in any letter case and order; unknown ones and long lines are read over.
           {"--b\r\nX-" + long_text + ": " + long_text + "\r\ncONTENT-tYPE: text/x\r\n" +
                part("NAME=a", "1", "content - TYPE:t\n") + "--",
            {0, {{"a", "1", "", "t"}}}},
           // One that begins with a ":" is no header, and ends them.
           {"--b\r\n:x: y\r\n" + part("name=a", "1") + "--", {0, {}}},
           // Only form-data counts, and a blank behind it belongs to it.
           {"--b\r\nContent-Disposition: attachment; name=a\r\n\r\n1\r\n--b\r\n" + part("name=b", "2") + "--",
            {0, {{"b", "2"}}}},
           {"--b\r\nContent-Disposition: form-data ; name=a\r\n\r\n1\r\n--b--", {0, {}}},
           {"--b\r\n\r\n1\r\n--b--", {0, {}}},
           // White space behind the ":" is skipped over line ends, into what follows.
           {"--b\r\nContent-Disposition:\r\n\r\nform-data; name=a\r\n\r\n1\r\n--b--", {0, {{"a", "1"}}}},
           {"--b\r\n" + part("name=a", "1", "Content-Type: \r\n") + "--", {2, {}}},
           {"--b\r\nContent-Disposition: form-data; name=a\r\rv\r\n--b--", {0, {{"a", "v"}}}},
           // Look-alikes of the boundary are content.
           {"--b\r\n" + part("name=a", "\r\n-\r\n--\r\r\n--\n--b\r--b--b") + "--",
            {0, {{"a", "\r\n-\r\n--\r\r\n--\n--b\r--b--b"}}}},
           {"--b\r\n" + part("name=a", "1\r\n--bstill the boundary") + "--", {2, {{"a", "1"}}}},
           // A body that ends inside a part fails; the fields before it stay until they are released.
           {"--b\r\nx", {0, {}}},
           {"--b\r\nxy", {2, {}}},
           {"--b\r\n" + part("name=a", "1"), {2, {}}},
           {"--b\r\n" + part("name=a", "1") + "-", {2, {}}},
           {"--b\r\n" + part("name=a", "1") + "\r\n" + part("name=f; filename=f", "2"), {2, {{"a", "1"}}}},
       }) {
    EXPECT_EQ(decode("b", row.body), row.expected) << row.body;
    EXPECT_EQ(decode("b", row.body, 7 + row.body.size() / 50), row.expected) << "in pieces: " << row.body;
  }
}

TEST(Multipart, BoundariesAreTakenAsTheyStand) {
  for (const std::string& boundary :
       std::vector<std::string>{"", "-", "----x", "\"quoted\"", "abc;", std::string(994, '-') + "x"}) {
    const std::string line = "--" + boundary + "\r\n";
    const std::string body =
        line + "Content-Disposition: form-data; name=a\r\n\r\nv\r\n--" + boundary + "--\r\n";
    EXPECT_EQ(decode(boundary, body), (decoded{0, {{"a", "v"}}})) << boundary;
  }
}

// A preamble that nearly holds the first boundary is put back behind what still waits: a boundary that overlaps
// it is not seen, and the next one counts as the first.
TEST(Multipart, ABoundaryThatOverlapsItsLookAlikeIsNotSeen) {
  const std::string two_parts =
      "\r\nContent-Disposition: form-data; name=a\r\n\r\n1\r\n--A--AB\r\n"
      "Content-Disposition: form-data; name=b\r\n\r\n2\r\n--A--AB--";
  EXPECT_EQ(decode("A--AB", "--A--AB" + two_parts).fields.size(), 2U);
  EXPECT_EQ(decode("A--AB", "-----A--AB" + two_parts).fields.size(), 2U);
  EXPECT_EQ(decode("A--AB", "--A--A--AB" + two_parts), (decoded{0, {{"b", "2"}}}));
}

TEST(Multipart, GivesWhatTheByteRulesGive) {
  constexpr int rounds = 20'000;
  std::mt19937 random{19};
  const auto below = [&random](std::size_t limit) { return random() % limit; };
  const std::array<std::string, 8> boundaries{"b", "X--Y", "--A", "-", "", "aab", "A--AB", "-A-A-B"};
  for (int round = 0; round < rounds; ++round) {
    const std::string& boundary = boundaries[below(boundaries.size())];
    const std::string line = "\r\n--" + boundary;
    const std::array<std::string, 16> tokens{"\r",
                                             "\n",
                                             "-",
                                             "x",
                                             ":",
                                             " ",
                                             "\"",
                                             std::string(1, '\0'),
                                             "--" + boundary,
                                             line,
                                             line + "\r\n",
                                             "\r\n\r\n",
                                             "Content-Disposition: form-data; name=a",
                                             "; filename=f",
                                             boundary.substr(0, below(boundary.size() + 1)),
                                             line.substr(0, below(line.size() + 1))};
    std::string body = below(2) == 0 ? "" : "--" + boundary + "\r\n";
    for (std::size_t count = below(30); count > 0; --count) body += tokens[below(tokens.size())];
    ASSERT_EQ(decode(boundary, body, below(4) * 3), byte_decoder(boundary, body).run())
        << "round " << round << ", boundary " << boundary << ", body\n"
        << testing::PrintToString(body);
  }
}

TEST(Multipart, ABodyMayBeCutAtEveryByte) {
  const std::string whole = "pre\r\n--b\r\n" + part("name=a", "1") + "\r\n" +
                            part("name=f; filename=f", "\r\n--\r\n", "Content-Type: x\r\n") + "--\r\n";
  for (std::size_t length = 0; length <= whole.size(); ++length) {
    const std::string cut = whole.substr(0, length);
    const decoded expected = byte_decoder("b", cut).run();
    decoded got = decode("b", cut);
    for (field& each : got.fields) each.type.clear();
    EXPECT_EQ(got, expected) << length;
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
  plant_tool("thumber", "sleep 1000");
  const auto start_service = [] {
    const pid_t process = fork();
    if (process == 0) execl("/usr/local/bin/thumber", "thumber", nullptr);
    for (int look = 0; look < 1000 && shell_output("pidof thumber").empty(); ++look) usleep(10'000);
    return process;
  };
  const std::string fifteen = "\r\n\"fifteen by\n\n";
  const std::string head = "--b\r\nContent-Disposition: ";
  const pid_t service = start_service();
  decode("b", "--b\r\n" + part("name=a", "UPDATE_FIRMWAR") + "--");
  decode("b", "--b\r\n" + part("name=a", "UPDATE_FIRMWARE_") + "--");
  decode("b", "--b\r\n" + part("name=a", fifteen));
  decode("b", head + "attachment\r\n\r\n" + fifteen + "\r\n--b--");
  usleep(300'000);
  EXPECT_EQ(waitpid(service, nullptr, WNOHANG), 0);
  decode("b", "--b\r\n" + part("name=a", fifteen) + "--");
  EXPECT_EQ(waitpid(service, nullptr, 0), service);
  const pid_t next_service = start_service();
  decode("b", "--b\r\n" + part("name=f; filename=f", fifteen) + "--");
  EXPECT_EQ(waitpid(next_service, nullptr, 0), next_service);
}

TEST(HeaderValue, IsSplitAtSemicolonsOutsideQuotes) {
  struct row {
    std::string header, main, name, file;
  };
  for (const row& row : {
           row{"", "", "", ""},
           {" \t form-data", "form-data", "", ""},
           {"form-data ; name=a", "form-data ", "a", ""},
           {"\"quoted;main\"rest; name=a", "quoted;main", "a", ""},
           {"\"open; name=a", "open; name=a", "", ""},
           {"m;name=\"a;b\" rest;filename = \t c d ", "m", "a;b", "c d "},
           {"m; Name=a; FILENAME=b; name=c", "m", "c", "b"},
           {"m; x=\"name=n;\"; name=a", "m", "a", ""},
           {"m; filename*=utf-8''x; name=a", "m", "", ""},
           {"m;; name=a", "m", "", ""},
           {"m; name; filename=f", "m", "", ""},
           {"m; name=; filename=f", "m", "", "f"},
           {"m; name=\"open", "m", "open", ""},
           {"m; name=1234567; filename=12345678", "m", "1234567", "1234567"},
           {"12345678; name=a", "1234567", "a", ""},
       }) {
    std::array<char, 8> small_main;
    std::array<char, 32> large_main;
    std::array<char, 8> name;
    std::array<char, 8> file;
    const bool is_long = row.main.size() > 7;
    const std::span<char> main = is_long ? std::span<char>{large_main} : small_main;
    const std::array<cgiHeaderParameter, 3> parameters{{{"name", name}, {"x", {}}, {"filename", file}}};
    cgiSplitHeaderValue(row.header, main, parameters);
    EXPECT_STREQ(main.data(), row.main.c_str()) << row.header;
    EXPECT_STREQ(name.data(), row.name.c_str()) << row.header;
    EXPECT_STREQ(file.data(), row.file.c_str()) << row.header;
  }
}

TEST(BodyStream, DeliversWhatWasPutBackOldestFirst) {
  cgiContentLength = 6;
  cgiIn = input_of("abcdefgh", 2);
  const auto stream = std::make_unique<cgiBodyStream>();
  const auto read = [&stream](std::size_t count) {
    std::string bytes(count, '\0');
    bytes.resize(cgiBodyRead(*stream, bytes));
    return bytes;
  };
  EXPECT_EQ(read(3), "abc");
  cgiBodyPutBack(*stream, "bc");
  EXPECT_EQ(read(1), "b");
  cgiBodyPutBack(*stream, "xy");
  EXPECT_EQ(stream->offset, 0);
  EXPECT_EQ(read(2), "cx");
  EXPECT_EQ(read(100), "ydef");
  EXPECT_EQ(stream->offset, 6);
  EXPECT_EQ(read(1), "");
  // Around the ring's end.
  for (int turn = 0; turn < 5; ++turn) {
    const std::string bytes(1000, static_cast<char>('0' + turn));
    cgiBodyPutBack(*stream, bytes);
    EXPECT_EQ(read(2000), bytes);
  }
  cgiContentLength = -1;
  EXPECT_EQ(read(1), "");
  std::fclose(cgiIn);
}
