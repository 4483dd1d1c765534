#include "discovery/key_catalogue.hpp"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>
#include <span>
#include <string_view>

#include "discovery/catalogue_tables.hpp"

namespace {

constexpr std::size_t longest_key = 63;

struct key_class {
  std::uint16_t bit;
  std::span<const std::string_view> keys;
};

constexpr auto key_classes = std::to_array<key_class>({
    {KEY_CLASS_EXCLUDED, excluded_keys},
    {KEY_CLASS_STATUS, status_keys},
    {KEY_CLASS_ENCODER, encoder_keys},
    {KEY_CLASS_DECODER, decoder_keys},
    {KEY_CLASS_EXTENDED, extended_keys},
    {KEY_CLASS_SECOND_GEN, second_gen_keys},
});
static_assert(excluded_keys.size() == 100 && status_keys.size() == 12 && encoder_keys.size() == 6 &&
              decoder_keys.size() == 22 && extended_keys.size() == 5 && second_gen_keys.size() == 7);
static_assert(std::ranges::all_of(key_classes, [](const key_class& row) {
  return std::ranges::all_of(row.keys, [](std::string_view key) { return key.size() <= longest_key; });
}));

bool belongs_to(std::string_view key, const key_class& row) {
  if (row.bit == KEY_CLASS_EXCLUDED && key.ends_with('_')) return true;
  return std::ranges::find(row.keys, key) != row.keys.end();
}

}  // namespace

std::uint16_t classify_key(char* key, std::uint16_t classes) {
  if (key == nullptr || *key == '\0' || std::strlen(key) > longest_key) return 0;
  if (char* line_feed = std::strchr(key, '\n')) *line_feed = '\0';
  unsigned found = 0;
  for (const key_class& row : key_classes) {
    if ((classes & row.bit) != 0 && belongs_to(key, row)) found |= row.bit;
  }
  return static_cast<std::uint16_t>(found);
}
