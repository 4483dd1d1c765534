#include "discovery/record_table.hpp"

#include <algorithm>
#include <numeric>

void record_table::start(int columns) {
  release();
  columns_ = columns;
  exists_ = true;
}

void record_table::release() {
  exists_ = false;
  cells_.release();
  text_.release();
  flags_.release();
  order_.release();
}

bool record_table::append_row() {
  const std::span<cell> added = cells_.extend(static_cast<std::size_t>(columns_));
  std::ranges::fill(added, cell{0, 0});
  return count_of(added) == columns_ && flags_.append(0);
}

bool record_table::set(int row, int column, std::string_view value) {
  // Offset 0 means "not set", so the text starts with a byte that belongs to no value.
  if (text_.size() == 0 && !text_.append('\0')) return false;
  const std::size_t copied = value.size() > longest_value ? 0 : value.size();
  const std::span<char> copy = extend_text(copied);
  if (copy.size() != copied) return false;
  std::copy_n(value.begin(), copied, copy.begin());
  set_part(row, column, {copy.data(), copied});
  return true;
}

// The cells of a row, null for an empty row after sorting.
const record_table::cell* record_table::row_cells(int row) const {
  const int stored = order_.size() == 0 ? row : element(order_, row);
  return stored < 0 ? nullptr : cells_.items().data() + std::ptrdiff_t{stored} * columns_;
}

std::string_view record_table::value(int row, int column) const {
  const cell* cells = row_cells(row);
  if (cells == nullptr) return {};
  return {text_.items().data() + cells[column].place, cells[column].length};
}

bool record_table::holds(int row, int column) const {
  const cell* cells = row_cells(row);
  return cells != nullptr && cells[column].place != 0;
}

void record_table::add_flags(int row, unsigned flags) {
  std::uint16_t& changed = element(flags_, row);
  changed = static_cast<std::uint16_t>(changed | flags);
}

std::span<char> record_table::extend_text(std::size_t size) {
  if (text_.size() == 0 && !text_.append('\0')) return {};
  return size <= longest_text - text_.size() ? text_.extend(size) : std::span<char>{};
}

void record_table::shrink_text(std::size_t unused) {
  text_.shrink(text_.size() - unused);
}

std::string_view record_table::text() const {
  return text_.size() == 0 ? std::string_view{}
                           : std::string_view{text_.items().data() + 1, text_.size() - 1};
}

// Sorts row numbers instead of moving cells: order_[position] is the row to read there.
//
//     rows      0 "b"   1 "a"   2 "b"   3 ""
//     sorted    3  1  0  2                        by value, then row, so the first of equal ones is in front
//     order_    3  1  0 -1                        row 2 repeats "b": an empty row at the end
void record_table::sort_by_first_column() {
  if (columns_ == 0) return;
  growing_array<int> order;
  const std::span<int> sorted = order.extend(static_cast<std::size_t>(rows()));
  if (count_of(sorted) != rows()) return;
  std::iota(sorted.begin(), sorted.end(), 0);
  std::ranges::sort(sorted, [this](int left, int right) {
    const int difference = value(left, 0).compare(value(right, 0));
    return difference != 0 ? difference < 0 : left < right;
  });
  const auto repeats = std::unique(sorted.begin(), sorted.end(),
                                   [this](int left, int right) { return value(left, 0) == value(right, 0); });
  std::fill(repeats, sorted.end(), -1);
  order_ = std::move(order);
}
