// Column list: the keys of one CSV header line with their classes. Built once, then only read.
//   limits   128 columns, 63 bytes a key
//   order    that in which the keys were added; keys may repeat, and a search finds the first
// Keys are found by hash: a unit answers with about a hundred pairs, and each is looked up here.

#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "base/element.hpp"
#include "base/fixed_text.hpp"

// The buffer size of keys and values in the unit's formats, with their terminating zero byte.
inline constexpr std::size_t key_size = 64;

class column_list {
 public:
  static constexpr int most_columns = 128;
  static constexpr int none = -1;

  // Adds a column. Returns its number, or none when the key is empty or too long or the list is full.
  int add(std::string_view key, std::uint16_t classes);

  // Removes all columns.
  void clear();

  // The first column with exactly this key, or none.
  [[nodiscard]] int find(std::string_view key) const;

  // The first column at or after `first` with this key in any letter case, or none.
  [[nodiscard]] int find_no_case(std::string_view key, int first = 0) const;

  [[nodiscard]] int size() const { return size_; }
  [[nodiscard]] std::string_view key(int column) const {
    const entry& named = element(columns_, column);
    return {named.key.c_str(), named.key_length};
  }
  [[nodiscard]] std::uint16_t classes(int column) const { return element(columns_, column).classes; }

 private:
  struct entry {
    fixed_text<key_size> key;
    std::uint16_t key_length = 0;
    std::uint16_t classes = 0;
  };

  // The size of the hash table. At most half full, so that a search ends after a step or two.
  static constexpr std::size_t places = 256;
  static_assert(most_columns <= places / 2);

  [[nodiscard]] std::size_t place_of(std::string_view key) const;

  std::array<entry, most_columns> columns_{};
  int size_ = 0;
  std::array<std::uint8_t, places> found_{};  // column number + 1; 0 for a free place
};
