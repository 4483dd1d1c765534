// Node search: finds the node file that contains a known sender's answer. Its result is the first line that
// this command would print, without starting a process for each datagram:
//
//   grep -e "IP\.ADDRESS=A" -e "IP\.STATIC_ADDRESS=A" -e "DHCP\.ADDRESS=A" /tmp/node_*
//
// The one-pass mode sorts datagrams by this line, and logs it, so grep's quirks are part of the result:
//   order    files in byte order of their names (node_10 before node_2), those of interrupted runs included
//   dots     a dot of the address matches any byte
//   length   10.0.0.1 is also found in 10.0.0.12
//   name     the line follows its file's name and a colon; both are missing when only one node file exists
//
// The text after a key is kept as a window: its first 15 bytes as two 64-bit numbers. An address becomes two
// numbers and a mask that is zero at its dots, so one comparison takes a few instructions:
//
//     file      UNIT.ID=a&IP.ADDRESS=10.77.11.50&UNIT.MODEL=...
//     window                         10.77.11.50&UNI
//     address                        10.77.11.5                equal under the mask: 10.77.11.5 matches
//     mask                           FF FF 00 FF FF 00 FF FF 00 FF 00 ...
//
// Several windows may match and a dot matches anything, so a hash cannot find the first: every window is
// compared.

#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "base/fixed_text.hpp"
#include "base/growing_array.hpp"

// A line of the command's output as read into a buffer of 128 bytes, with its line feed where that fits.
using search_line = fixed_text<128>;

class node_search {
 public:
  // Reads the node files that exist, left by an interrupted run.
  node_search();

  // Records text that was just appended to /tmp/node_<number>. A new number must be the next one, from 0.
  // Without memory the text is not found later.
  void add(int number, std::string_view text);

  // The first line with the dotted address after one of the three keys. Empty when there is none.
  [[nodiscard]] search_line find(std::string_view address) const;

  // True when an interrupted run left a file of that number.
  [[nodiscard]] bool was_left(int number) const;

 private:
  static constexpr std::uint32_t none = UINT32_MAX;
  // The number of different windows kept for each file, so that a flood cannot make the search slow.
  static constexpr std::uint32_t most_places_of_a_file = 256;
  static constexpr std::size_t longest_address = 15;
  static constexpr std::size_t longest_key = 18;

  using file_path = fixed_text<272>;  // the folder and a name of up to 255 bytes

  // What is known about one node file.
  struct node_file {
    std::uint64_t size = 0;
    std::uint64_t line_start = 0;  // offset of the last line
    // The start of the file, as far as a search prints it. Most files are one line, so they are not read
    // again.
    std::array<char, search_line::capacity> head{};
    // The end of the file: a key or an address that starts in it may continue in the next text.
    std::array<char, longest_key + longest_address> tail{};
    std::uint8_t head_size = 0;
    std::uint8_t tail_size = 0;
    std::int32_t number = 0;          // of the file; -1 for a left file
    std::uint32_t left_name = none;   // of a left file: its index in left_names_
    std::uint32_t last_place = none;  // the head of its chain in places_
    std::uint32_t place_count = 0;
  };
  // The bytes after a key, up to the end of the line, padded with zero bytes, which match no digit.
  using window = std::array<std::uint64_t, 2>;
  // Where a window was found.
  struct place {
    std::uint64_t line_start;
    std::uint32_t file;
    std::uint32_t next;  // the next place in the file's chain, or none
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

  // Left files come first in files_, then those that this run writes. A number finds its file through
  // numbered_:
  //
  //     files_       node_0 (left)   node_7 (left)   node_1   node_2
  //     numbered_    0 -> 0    1 -> 2    2 -> 3
  //
  growing_array<node_file> files_;
  growing_array<file_path> left_names_;
  growing_array<std::uint32_t> numbered_;  // by number: index in files_ of a file that this run wrote
  growing_array<window> windows_;
  growing_array<place> places_;  // one for each window, at the same index
};
