// Record table: the values of many units. It has a row for each unit and a cell for each column of a column
// list.
//
//     text    \0 1 0 . 7 7 . 1 . 5 S 1 2 T X 6 1 0 ...    all values, one after the other
//     cells   (1,9) (10,3) (13,5)                         row 0: offset and length of each value
//             (0,0) (18,4) (1,0)                          row 1: not set, a value, set without a value
//
// A cell takes 4 bytes and a value its own length, so a table takes what its values take, not columns times
// 64.
//   values   at most 63 bytes
//   text     at most 64 MiB; a value that replaces another leaves the old one's bytes unused
//   held     a cell that was set, even to an empty value: the unit or the file named its key
//   flags    16 bits a row for the users of the table, 0 at first
// A table exists from start to release. append_row, set and extend_text report lack of memory; the caller
// then releases the table, because it is incomplete.

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

  // Starts an empty table with that many columns.
  void start(int columns);

  // Changes the number of columns. Only while the table has no rows.
  void set_columns(int columns) { columns_ = columns; }

  // Frees the memory. The table is then absent.
  void release();

  // True from start to release.
  [[nodiscard]] explicit operator bool() const { return exists_; }

  // Adds a row in which no cell is set. Returns false without memory.
  [[nodiscard]] bool append_row();

  [[nodiscard]] int rows() const { return count_of(flags_); }

  // Sets a cell to a copy of the value. An empty value and one over 63 bytes leave the old value in place;
  // the cell counts as set all the same. The value must not be a part of the table's own text. Returns false
  // without memory.
  [[nodiscard]] bool set(int row, int column, std::string_view value);

  // The same for a value inside the table's own text. Copies nothing, so it needs no memory.
  void set_part(int row, int column, std::string_view part) {
    cell& changed = element(cells_, row * columns_ + column);
    if (part.empty() || part.size() > longest_value) {
      if (changed.place == 0) changed.place = 1;
      return;
    }
    changed.place = static_cast<std::uint32_t>(part.data() - text_.items().data()) & (longest_text - 1);
    changed.length = static_cast<std::uint32_t>(part.size()) & longest_value;
  }

  // The value of a cell, empty when it has none. Valid until text is added.
  [[nodiscard]] std::string_view value(int row, int column) const;
  // True when the cell was set.
  [[nodiscard]] bool holds(int row, int column) const;

  // The flags of a row, and how to set more of them.
  [[nodiscard]] std::uint16_t flags(int row) const { return element(flags_, row); }
  void add_flags(int row, unsigned flags);

  // Appends that many bytes to the text. The caller fills them and sets cells to parts of them. Empty without
  // memory or beyond 64 MiB. shrink_text takes unused bytes off the end again.
  [[nodiscard]] std::span<char> extend_text(std::size_t size);
  void shrink_text(std::size_t unused);

  // The text added so far. set_part takes parts of it.
  [[nodiscard]] std::string_view text() const;

  // Orders the rows by the first column, compared as unsigned bytes, empty values first. Of rows with equal
  // values only the first stays; an empty row at the end replaces each of the others. Without memory the
  // order stays. Afterwards the table is only read. Flags do not move with their rows: tables that are sorted
  // have none.
  void sort_by_first_column();

 private:
  struct cell {
    std::uint32_t place : 26;  // offset in text_; 0 for a cell that is not set
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
  growing_array<int> order_;  // see sort_by_first_column; empty before
};
