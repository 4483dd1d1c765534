// Node search: finds the node file that already contains a known sender's answer.
//
// It answers as this command line's first output line would, without starting a process for every datagram:
//   grep -e "IP\.ADDRESS=A" -e "IP\.STATIC_ADDRESS=A" -e "DHCP\.ADDRESS=A" /tmp/node_*
// Its quirks belong to the answer: files in the byte order of their names, files of earlier, interrupted runs
// among them; the dots of the address match any byte of a line; an address is found in front of further
// digits too (10.0.0.1 in 10.0.0.12); the line follows its file's name and a colon, but not when only
// one node file exists.
//
// It keeps the places after one of the keys, each with the 15 bytes that follow, as two numbers. The address becomes two
// numbers and a mask without its dots, so that a comparison takes a few instructions:
//
//     place     UNIT.ID=a&IP.ADDRESS=|10.77.11.5&UNIT.|MODEL=…        15 bytes
//     address                        |10 77 1        |                10.77.1 matches 10.77.11.5
//
// Several places may match, and a dot matches anything, so no hash finds the first one: all are compared.

#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "base/fixed_text.hpp"
#include "base/growing_array.hpp"

// The line as a reader with a buffer of 128 bytes gets it, line end included where it fits.
using search_line = fixed_text<128>;

class node_search {
 public:
  // Takes in the node files that exist.
  node_search();

  // Takes in what has just been appended to /tmp/node_<number>; numbers are given out one by one from 0. Text
  // for which there is no memory is not found.
  void add(int number, std::string_view text);

  // The first line that has the dotted address after one of the three keys; empty when none does.
  [[nodiscard]] search_line find(std::string_view address) const;

  // Whether a file of that number was left by an earlier run.
  [[nodiscard]] bool was_left(int number) const;

 private:
  static constexpr std::uint32_t none = UINT32_MAX;
  // A flood must not make the search slow: of one file, this many different values of a key are known.
  static constexpr std::uint32_t most_places_of_a_file = 256;
  static constexpr std::size_t longest_address = 15;
  static constexpr std::size_t longest_key = 18;

  using file_path = fixed_text<272>;  // the folder and a name of at most 255 bytes

  struct node_file {
    std::uint64_t size = 0;
    std::uint64_t line_start = 0;  // where the last line begins
    // What a search prints of the first line, so that it need not be read again.
    std::array<char, search_line::capacity> head{};
    // The end of the text: a key or an address that begins here may go on with the next text.
    std::array<char, longest_key + longest_address> tail{};
    std::uint8_t head_size = 0;
    std::uint8_t tail_size = 0;
    std::int32_t number = 0;          // of a file that this run writes; -1 for another one
    std::uint32_t left_name = none;   // its place in left_names_, for a file of an earlier run
    std::uint32_t last_place = none;  // where its chain in places_ begins
    std::uint32_t place_count = 0;
  };
  // The bytes after a key, up to the end of its line, filled up with zero bytes, which match no digit.
  using window = std::array<std::uint64_t, 2>;
  struct place {
    std::uint64_t line_start;
    std::uint32_t file;
    std::uint32_t next;  // the next place of the same file, or none
  };

  static window window_of(std::string_view text);
  [[nodiscard]] bool comes_before(std::size_t left, std::size_t right) const;
  [[nodiscard]] search_line line_at(const place& found) const;
  [[nodiscard]] file_path path_of(const node_file& file) const;
  [[nodiscard]] std::uint32_t find_left(int number) const;
  void take_left_file(const char* name);
  std::uint32_t file_of(int number);
  void add_text(std::uint32_t file, std::string_view text);
  void add_place(std::uint32_t file, const window& text, std::uint64_t line_start);
  void add_places(std::uint32_t file, std::string_view text, std::size_t known);

  growing_array<node_file> files_;
  growing_array<file_path> left_names_;
  growing_array<std::uint32_t> numbered_;  // the place in files_ of each file that this run has written
  growing_array<window> windows_;
  growing_array<place> places_;  // one for each window
};
