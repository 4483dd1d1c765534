// Record table: the values of many units, a row for each, a cell for each column of a column list.
//
//     text    . 1 0 . 7 7 . 1 . 5 S 1 2 T X 6 1 0 …       all values, one after the other
//     cells   (1,9) (10,3) (13,5)                         row 0: where each value begins, and its length
//             (0,0) (18,4) (18,0)                         row 1: nothing, a value, a held cell without a value
//
// A cell takes 4 bytes and a value its own length, so a table takes what its values take.
//   values   at most 63 bytes
//   text     at most 64 MiB; a value that replaces another one leaves the old one's bytes unused
//   held     a cell that was set, also to an empty value: the unit or the file named its key
//   flags    16 bits a row, for the readers of the table; 0 at first
// A table exists from start to release. Lack of memory is a result of append_row, set and extend_text; a caller whose
// table is no longer whole releases it.

#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

#include "base/element.hpp"
#include "base/growing_array.hpp"

class record_table {
 public:
  constexpr record_table() = default;

  // Begins an empty table of that many columns.
  void start(int columns);

  // Changes the number of columns of a table without rows.
  void set_columns(int columns) { columns_ = columns; }

  // Gives its memory back: the table is absent.
  void release();

  [[nodiscard]] explicit operator bool() const { return exists_; }

  // Adds a row of which no cell is held. Returns false when there is no memory.
  [[nodiscard]] bool append_row();

  [[nodiscard]] int rows() const { return count_of(flags_); }

  // Sets a cell. An empty value, or one that is too long, leaves the cell's value as it was; the cell is held all the
  // same. The value is copied; it lies outside the table. Returns false when there is no memory.
  [[nodiscard]] bool set(int row, int column, std::string_view value);

  // The same for a value that is a part of the table's text: it is not copied, so this takes no memory.
  void set_part(int row, int column, std::string_view part) {
    cell& changed = element(cells_, row * columns_ + column);
    if (part.empty() || part.size() > longest_value) {
      if (changed.place == 0) changed.place = 1;
      return;
    }
    changed.place = static_cast<std::uint32_t>(part.data() - text_.items().data()) & (longest_text - 1);
    changed.length = static_cast<std::uint32_t>(part.size()) & longest_value;
  }

  // The value; empty when the cell has none. It is good until text is added.
  [[nodiscard]] std::string_view value(int row, int column) const;
  [[nodiscard]] bool holds(int row, int column) const;

  [[nodiscard]] std::uint16_t flags(int row) const { return element(flags_, row); }
  void add_flags(int row, unsigned flags);

  // Adds that many bytes to the text, for a caller who fills them and sets cells to parts of them. Empty when there is
  // no memory. shrink_text gives back what was not needed, from the end of the text.
  [[nodiscard]] std::span<char> extend_text(std::size_t size);
  void shrink_text(std::size_t unused);

  // The text added so far, of which cells may be set to parts.
  [[nodiscard]] std::string_view text() const;

  // Orders the rows by the first column, as unsigned bytes, an empty value first. Of rows with the same value the
  // first one stays; as many rows without any cell end the table. Without memory the rows stay as they are.
  void sort_by_first_column();

 private:
  struct cell {
    std::uint32_t place : 26;  // 0 for a cell that is not held
    std::uint32_t length : 6;
  };
  static constexpr std::uint32_t longest_value = 63;
  static constexpr std::uint32_t longest_text = std::uint32_t{1} << 26;

  [[nodiscard]] const cell* row_cells(int row) const;

  bool exists_ = false;
  int columns_ = 0;
  growing_array<cell> cells_;
  growing_array<char> text_;
  growing_array<std::uint16_t> flags_;
  growing_array<int> order_;  // the row at each position once they are sorted, -1 for an empty one
};
