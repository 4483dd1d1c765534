#include "discovery/node_search.hpp"

#include <algorithm>
#include <bit>

#include "base/files.hpp"
#include "discovery/node_files.hpp"

namespace {

constexpr auto searched_keys = std::to_array<std::string_view>({
    "IP.ADDRESS=",
    "IP.STATIC_ADDRESS=",
    "DHCP.ADDRESS=",
});
constexpr std::string_view common_end = "ADDRESS=";
constexpr std::size_t read_block_size = 4096;

bool ends_in_searched_key(std::string_view text) {
  return std::ranges::any_of(searched_keys, [text](std::string_view key) { return text.ends_with(key); });
}

}  // namespace

node_search::node_search() {
  const unique_folder folder = open_folder(node_folder);
  while (const char* name = folder ? next_name(folder.get()) : nullptr) {
    if (std::string_view{name}.starts_with(node_name_start)) take_left_file(name);
  }
}

void node_search::take_left_file(const char* name) {
  node_file left;
  left.path.print("%s/%s", node_folder, name);
  const std::size_t number = files_.items().size();
  if (!files_.append(left)) return;
  const unique_file file = open_for_reading(left.path.c_str());
  std::array<char, read_block_size> block;
  while (const std::size_t length = file ? std::fread(block.data(), 1, block.size(), file.get()) : 0) {
    add_text(number, {block.data(), length});
  }
}

void node_search::add(int number, std::string_view text) {
  const std::size_t file = file_of(number);
  if (file < files_.items().size()) add_text(file, text);
}

// Returns the position of /tmp/node_<number> in files_, or none when there is no memory for it.
std::size_t node_search::file_of(int number) {
  const auto wanted = static_cast<std::size_t>(number);
  if (wanted < numbered_.items().size()) return numbered_.items()[wanted];
  node_file file;
  file.path.assign_cut(node_path(number).view());
  const auto known = files_.items();
  const auto left =
      std::ranges::find(known, file.path.view(), [](const node_file& other) { return other.path.view(); });
  auto position = static_cast<std::size_t>(left - known.begin());
  if (position == known.size() && !files_.append(file)) position = none;
  // Without memory for the number the ones behind it cannot be told apart either: none of them is found.
  const bool in_turn = wanted == numbered_.items().size();
  return in_turn && numbered_.append(position) ? position : none;
}

void node_search::add_text(std::size_t number, std::string_view text) {
  node_file& file = files_.items()[number];
  std::array<char, sizeof(file.tail) + read_block_size> joined;
  text = text.substr(0, read_block_size);
  std::copy_n(file.tail.data(), file.tail_size, joined.data());
  text.copy(joined.data() + file.tail_size, text.size());
  const std::string_view all{joined.data(), file.tail_size + text.size()};

  add_places(number, all, file.tail_size);
  file.size += text.size();
  const std::size_t line_feed = all.rfind('\n');
  if (line_feed != std::string_view::npos) file.line_start = file.size - all.size() + line_feed + 1;
  file.tail_size = std::min(all.size(), file.tail.size());
  all.copy(file.tail.data(), file.tail_size, all.size() - file.tail_size);
}

// Adds the keys of a text whose first `known` bytes were looked through before; what they hold whole is there
// already.
void node_search::add_places(std::size_t number, std::string_view text, std::size_t known) {
  const node_file& file = files_.items()[number];
  const std::uint64_t text_start = file.size - known;
  for (std::size_t key = text.find(common_end); key != std::string_view::npos;
       key = text.find(common_end, key + 1)) {
    const std::size_t value = key + common_end.size();
    const std::string_view known_value = text.substr(value).substr(0, known > value ? known - value : 0);
    const bool whole =
        known_value.size() >= longest_address || known_value.find('\n') != std::string_view::npos;
    if (whole || !ends_in_searched_key(text.substr(0, value))) continue;
    const std::size_t line_feed = text.rfind('\n', key);
    const std::uint64_t line_start =
        line_feed != std::string_view::npos ? text_start + line_feed + 1 : file.line_start;
    add_place(number, window_of(text.substr(value)), line_start);
  }
}

// Adds a place, unless no address can match there, as each begins with a digit, or an earlier line of the file
// answers for the same value.
void node_search::add_place(std::size_t number, const window& text, std::uint64_t line_start) {
  const char first = std::bit_cast<std::array<char, sizeof(window)>>(text)[0];
  node_file& file = files_.items()[number];
  if (first < '0' || first > '9' || file.place_count >= most_places_of_a_file) return;
  const auto places = places_.items();
  for (std::size_t known = file.last_place; known != none; known = places[known].next) {
    if (places[known].text == text) return;
  }
  if (!places_.append({text, line_start, number, file.last_place})) return;
  file.last_place = places.size();
  ++file.place_count;
}

search_line node_search::find(std::string_view address) const {
  std::array<unsigned char, sizeof(window)> compared{};
  for (std::size_t i = 0; i < address.size() && i < longest_address; ++i) {
    compared[i] = address[i] == '.' ? 0x00 : 0xFF;
  }
  const auto mask = std::bit_cast<window>(compared);
  const window sought = window_of(address);
  const place* first = nullptr;
  for (const place& candidate : places_.items()) {
    const std::uint64_t differences =
        ((candidate.text[0] ^ sought[0]) & mask[0]) | ((candidate.text[1] ^ sought[1]) & mask[1]);
    if (differences == 0 && (first == nullptr || comes_before(candidate, *first))) first = &candidate;
  }
  return first != nullptr ? line_at(*first) : search_line{};
}

node_search::window node_search::window_of(std::string_view text) {
  std::array<char, sizeof(window)> bytes{};
  text = text.substr(0, longest_address);
  text = text.substr(0, text.find('\n'));
  text.copy(bytes.data(), text.size());
  return std::bit_cast<window>(bytes);
}

bool node_search::comes_before(const place& left, const place& right) const {
  if (left.file == right.file) return left.line_start < right.line_start;
  return files_.items()[left.file].path.view() < files_.items()[right.file].path.view();
}

search_line node_search::line_at(const place& found) const {
  const node_file& node = files_.items()[found.file];
  search_line line;
  fixed_text<search_line::capacity + 1> text;
  const unique_file file = open_for_reading(node.path.c_str());
  if (!file || fseeko(file.get(), static_cast<off_t>(found.line_start), SEEK_SET) != 0) return line;
  read_line(file.get(), text.buffer());
  const bool one_file = files_.items().size() == 1;
  const std::string_view whole = text.view();
  const std::string_view content =
      whole.substr(0, whole.find('\n'));  // a carriage return stays, as with grep
  line.print("%s%s%.*s\n", one_file ? "" : node.path.c_str(), one_file ? "" : ":",
             static_cast<int>(content.size()), content.data());
  return line;
}
