// Node search: finds the node file that already holds a known sender's answer.
//
// It answers as this command line's first output line would, without starting a process for every datagram:
//   grep -e "IP\.ADDRESS=A" -e "IP\.STATIC_ADDRESS=A" -e "DHCP\.ADDRESS=A" /tmp/node_*
// Its quirks belong to the answer: files in the byte order of their names, files of earlier, interrupted runs
// among them; the dots of the address match any byte of a line; an address is found in front of further
// digits too (10.0.0.1 in 10.0.0.12); the line stands behind its file's name and a colon, but not when only
// one node file exists.
//
// It keeps the places where one of the keys stands, each with the 15 bytes behind it, so that a search
// compares numbers. The line itself is read from its file.

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

  // The first line that holds the dotted address behind one of the three keys; empty when none does.
  [[nodiscard]] search_line find(std::string_view address) const;

 private:
  static constexpr std::size_t none = SIZE_MAX;
  // A flood must not make the search slow: of one file, this many different values behind a key are known.
  static constexpr std::size_t most_places_of_a_file = 256;
  static constexpr std::size_t longest_address = 15;
  static constexpr std::size_t longest_key = 18;

  struct node_file {
    fixed_text<272> path;  // the folder and a name of at most 255 bytes
    std::uint64_t size = 0;
    std::uint64_t line_start = 0;  // where the last line begins
    // The end of the text: a key or an address that begins here may go on with the next text.
    std::array<char, longest_key + longest_address> tail{};
    std::size_t tail_size = 0;
    std::size_t last_place = none;  // where its chain in places_ begins
    std::size_t place_count = 0;
  };
  // What stands behind a key, up to the end of its line, filled up with zero bytes, which match no digit.
  using window = std::array<std::uint64_t, 2>;
  struct place {
    window text;
    std::uint64_t line_start;
    std::size_t file;
    std::size_t next;  // the next place of the same file, or none
  };

  static window window_of(std::string_view text);
  [[nodiscard]] bool comes_before(const place& left, const place& right) const;
  [[nodiscard]] search_line line_at(const place& found) const;
  void take_left_file(const char* name);
  std::size_t file_of(int number);
  void add_text(std::size_t file, std::string_view text);
  void add_place(std::size_t file, const window& text, std::uint64_t line_start);
  void add_places(std::size_t file, std::string_view text, std::size_t known);

  growing_array<node_file> files_;
  growing_array<std::size_t> numbered_;  // where in files_ each file stands that this run has written
  growing_array<place> places_;
};
