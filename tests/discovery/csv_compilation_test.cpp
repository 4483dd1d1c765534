#include "discovery/csv_compilation.hpp"

#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <vector>

#include "discovery/discovery_state.hpp"
#include "discovery/key_header.hpp"
#include "support/files.hpp"

namespace {

// Compiles these answers under these columns and returns the data lines of the CSV. An empty one has no file.
std::string compiled(const std::string& keys, const std::vector<std::string>& answers) {
  write_file("/etc/keys.txt", keys);
  EXPECT_GT(ckht(1, "/tmp/discover.csv"), 0);
  encoder_count = decoder_count = 0;
  for (std::size_t i = 0; i < answers.size(); ++i) {
    if (!answers[i].empty()) write_file("/tmp/node_" + std::to_string(i), answers[i]);
  }
  EXPECT_EQ(cr(static_cast<int>(answers.size())), 0);
  const std::string csv = read_file("/tmp/discover.csv");
  return csv.substr(csv.find("\r\n") + 2);
}

std::string filled(std::size_t size, const std::string& end) {
  return std::string(size - end.size(), 'x') + end;
}

}  // namespace

// If it fails, a line of the CSV shows a unit's values wrong, cut or in other columns.
TEST(CsvCompilation, OneAnswerIsOneLine) {
  const std::string key63(63, 'k');
  const std::string value62(62, 'v');
  using row = std::tuple<const char*, std::string, std::string>;
  const std::string long_keys = "A\n" + key63 + "\n";
  for (const auto& [keys, answer, line] : {
           row{"A\nB\n", "=x&A=1&B=2&junk&", "1,2"},
           {"A\nB\n", "A=1&B=2", "1,"},
           {"A\nB\n", "", ","},
           {"A\nB\n", "no pairs at all", ","},
           {"A\nB\n", "C=3&a=4&B=2&", ",2"},
           {"A\nB\n", "A=1&A=2&A=&", "2,"},
           {"A\nB\n", "A=1&B=2B=3&", "1,2B=3"},
           {"A\nB\n", "junk&B=2&A=1&", "1,2"},
           {"A\nA\n", "A=1&", "1,"},
           {"A\nB\n", "A=Room 1, left&B=x,\"y\"&", "\"Room 1, left\",\"x,\"y\"\""},
           {"A\r\nQUERY.ALL\r\nB\r\n", "A=1&QUERY.ALL=2&B=3&", "1,3"},
           {"QUERY.ALL\r\nB\r\n", "QUERY.ALL=2&B=3&", ",3"},
           {"A\nB\n", "A=" + value62 + "&B=" + value62 + "v&", value62 + ","},
           {long_keys.c_str(), key63 + "=1&" + key63 + "k=2&A=3&", "3,1"},
           // The last "&" is byte 2,049, then 2,048.
           {"A\nB\n", filled(2044, "&A=1") + "&B=2&", "1,"},
           {"A\nB\n", filled(2043, "&A=1") + "&B=2&", "1,2"},
       }) {
    EXPECT_EQ(compiled(keys, {answer}), line + "\r\n") << keys << answer;
  }
}

// If it fails, the CSV of a site changes its order, or a unit's line repeats.
TEST(CsvCompilation, LinesAreOrderedByTheirFirstColumnAndRepeatsAreEmptyLines) {
  const auto answer = [](const std::string& first, const std::string& second) {
    return "A=" + first + "&B=" + second + "&";
  };
  EXPECT_EQ(compiled("A\nB\n",
                     {answer("10.0.0.9", "1"), answer("10.0.0.10", "2"), answer("", "3"), answer("\xC4", "4"),
                      answer("10.0.0.9", "5"), answer("a", "6"), answer("", "7"), answer("Z", "8")}),
            ",3\r\n10.0.0.10,2\r\n10.0.0.9,1\r\nZ,8\r\na,6\r\n\xC4,4\r\n,\r\n,\r\n");
}

// If it fails, the totals are wrong, or a unit is missing from the list of its kind.
TEST(CsvCompilation, CountsModelsAndSelectsTheirLines) {
  compiled("UNIT.ID\nUNIT.MODEL\n", {"UNIT.ID=2&UNIT.MODEL=T-PL&", "UNIT.ID=4&unit.model=QV8T&",
                                     "UNIT.ID=see TX620&UNIT.MODEL=T-PL-K&"});
  EXPECT_EQ(read_file("/tmp/discover.info"), "Total=3&Ecount=3&Dcount=0~~~\n");
  EXPECT_EQ(read_file("/tmp/encoders.csv"), "see TX620,T-PL-K\r\n");
}
