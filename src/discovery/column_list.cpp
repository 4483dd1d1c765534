#include "discovery/column_list.hpp"

#include <cstring>

#include "base/text.hpp"

namespace {

// Hashes the first and the last four bytes and the length: keys such as IP.ADDRESS, IP.NETMASK and
// DHCP.ADDRESS differ in one of these. The top 8 bits of the product are the place.
std::uint32_t hash_of(std::string_view key) {
  std::uint32_t start = 0;
  std::uint32_t end = 0;
  if (key.size() >= sizeof start) {
    std::memcpy(&start, key.data(), sizeof start);
    std::memcpy(&end, key.data() + key.size() - sizeof end, sizeof end);
  } else {
    for (const char letter : key) end = end << 8 | static_cast<unsigned char>(letter);
  }
  return (start * 31 + end + static_cast<std::uint32_t>(key.size())) * 0x9E3779B1U >> 24;
}

}  // namespace

int column_list::add(std::string_view key, std::uint16_t classes) {
  if (key.empty() || key.size() >= key_size || size_ == most_columns) return none;
  // A key that is there already keeps its place for the first column that has it.
  std::uint8_t& found = found_[place_of(key)];
  if (found == 0) found = static_cast<std::uint8_t>(size_ + 1);
  entry& added = element(columns_, size_);
  added.key.assign_cut(key);
  added.key_length = static_cast<std::uint16_t>(key.size());
  added.classes = classes;
  return size_++;
}

void column_list::clear() {
  size_ = 0;
  found_.fill(0);
}

int column_list::find(std::string_view key) const {
  return found_[place_of(key)] - 1;
}

// The place of the key or, when it is not in the list, the free place for it: linear probing.
std::size_t column_list::place_of(std::string_view wanted) const {
  std::size_t place = hash_of(wanted);
  while (found_[place] != 0 && key(found_[place] - 1) != wanted) place = (place + 1) % places;
  return place;
}

int column_list::find_no_case(std::string_view wanted, int first) const {
  for (int column = first; column < size_; ++column) {
    if (equal_no_case(key(column), wanted)) return column;
  }
  return none;
}
