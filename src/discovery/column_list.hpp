// Column list: the keys of one CSV header line, each with its classes. Built once, then only read.
//   limits   128 columns, 63 characters a key
//   order    as the keys were added; several columns may have the same key, and a search finds the first
// Keys are found by a hash of their ends: a unit answers with some hundred pairs, and each is looked up here.

#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "base/element.hpp"
#include "base/fixed_text.hpp"

// The bytes of a key and of a value of the unit's formats, with their terminator.
inline constexpr std::size_t key_size = 64;

class column_list {
 public:
  static constexpr int most_columns = 128;
  static constexpr int none = -1;

  // Adds a column. Returns its number, or none when the key is empty or too long, or no column is left.
  int add(std::string_view key, std::uint16_t classes);

  void clear();

  // The first column with exactly this key; none when there is none.
  [[nodiscard]] int find(std::string_view key) const;

  // The first column from `first` on that has this key in any letter case; none when there is none.
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

  // At most half full, so that a search ends after a step or two.
  static constexpr std::size_t places = 256;
  static_assert(most_columns <= places / 2);

  [[nodiscard]] std::size_t place_of(std::string_view key) const;

  std::array<entry, most_columns> columns_{};
  int size_ = 0;
  std::array<std::uint8_t, places> found_{};  // 0, or one more than the column that a search finds there
};
