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
// All three end like this, so one search finds the candidates.
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

// Reads one left file. Without memory it is not found.
void node_search::take_left_file(const char* name) {
  file_path path;
  path.print("%s/%s", node_folder, name);
  node_file left;
  left.number = -1;
  left.left_name = static_cast<std::uint32_t>(left_names_.size());
  const auto position = static_cast<std::uint32_t>(files_.size());
  if (!left_names_.append(path) || !files_.append(left)) return;
  const unique_file file = open_for_reading(path.c_str());
  std::array<char, read_block_size> block;
  while (const std::size_t length = file ? std::fread(block.data(), 1, block.size(), file.get()) : 0) {
    add_text(position, {block.data(), length});
  }
}

// The path of a file of either kind.
node_search::file_path node_search::path_of(const node_file& file) const {
  if (file.left_name != none) return left_names_[file.left_name];
  file_path path;
  path.assign_cut(node_path(file.number).view());
  return path;
}

// The index in files_ of a left file of that number, or none.
std::uint32_t node_search::find_left(int number) const {
  const fixed_text<32> path = node_path(number);
  for (std::uint32_t position = 0; position < files_.size(); ++position) {
    const std::uint32_t name = files_[position].left_name;
    if (name == none) break;  // files of earlier runs come first
    if (left_names_[name].view() == path.view()) return position;
  }
  return none;
}

bool node_search::was_left(int number) const {
  return find_left(number) != none;
}

void node_search::add(int number, std::string_view text) {
  const std::uint32_t file = file_of(number);
  if (file < files_.size()) add_text(file, text);
}

// The index in files_ of /tmp/node_<number>, added when it is new. None without memory.
std::uint32_t node_search::file_of(int number) {
  const auto wanted = static_cast<std::size_t>(number);
  if (wanted < numbered_.size()) return numbered_[wanted];
  std::uint32_t position = find_left(number);
  if (position == none) {
    node_file file;
    file.number = number;
    position = static_cast<std::uint32_t>(files_.size());
    if (!files_.append(file)) position = none;
  }
  // numbered_ is indexed by number, so after a gap for lack of memory no later number can be added.
  const bool in_turn = wanted == numbered_.size();
  return in_turn && numbered_.append(position) ? position : none;
}

// Searches new text together with the end of the text before it, so that a key or an address that two
// datagrams share is found too:
//
//     file     ... UNIT.ID=a&IP.ADDR|ESS=10.77.1.5&UNIT.MODEL=...
//                  └ tail, 33 bytes  └ text
//     joined       └────────────────────────────────────────── searched
void node_search::add_text(std::uint32_t number, std::string_view text) {
  node_file& file = files_[number];
  std::array<char, sizeof(file.tail) + read_block_size> joined;
  text = text.substr(0, read_block_size);
  std::copy_n(file.tail.data(), file.tail_size, joined.data());
  text.copy(joined.data() + file.tail_size, text.size());
  const std::string_view all{joined.data(), file.tail_size + text.size()};

  add_places(number, all, file.tail_size);
  file.head_size += static_cast<std::uint8_t>(
      text.copy(file.head.data() + file.head_size, file.head.size() - file.head_size));
  file.size += text.size();
  const std::size_t line_feed = all.rfind('\n');
  if (line_feed != std::string_view::npos) file.line_start = file.size - all.size() + line_feed + 1;
  file.tail_size = static_cast<std::uint8_t>(std::min(all.size(), file.tail.size()));
  all.copy(file.tail.data(), file.tail_size, all.size() - file.tail_size);
}

// Adds a window for each key in the text. The first `known` bytes were searched before, so a window that lies
// completely within them is there already. One that was cut off by their end is added again, now longer:
//
//     before   IP.ADDRESS=10.77|               window "10.77", too short for the address
//     now      IP.ADDRESS=10.77|.1.5&          window "10.77.1.5&"
//     known                    ^
void node_search::add_places(std::uint32_t number, std::string_view text, std::size_t known) {
  const node_file& file = files_[number];
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

// Adds a window. Leaves out one that does not start with a digit, as no address can match it, and one that
// the file has already, as the earlier line is the one found.
void node_search::add_place(std::uint32_t number, const window& text, std::uint64_t line_start) {
  const char first = std::bit_cast<std::array<char, sizeof(window)>>(text)[0];
  node_file& file = files_[number];
  if (first < '0' || first > '9' || file.place_count >= most_places_of_a_file) return;
  for (std::uint32_t known = file.last_place; known != none; known = places_[known].next) {
    if (windows_[known] == text) return;
  }
  const auto added = static_cast<std::uint32_t>(places_.size());
  if (!windows_.append(text)) return;
  if (!places_.append({line_start, number, file.last_place})) {
    windows_.shrink(added);
    return;
  }
  file.last_place = added;
  ++file.place_count;
}

// Compares the address with every window, and keeps the match that comes first in the output of grep.
search_line node_search::find(std::string_view address) const {
  std::array<unsigned char, sizeof(window)> compared{};
  for (std::size_t i = 0; i < address.size() && i < longest_address; ++i) {
    compared[i] = address[i] == '.' ? 0x00 : 0xFF;
  }
  const auto mask = std::bit_cast<window>(compared);
  const window sought = window_of(address);
  std::size_t first = none;
  std::size_t number = 0;
  for (const window& candidate : windows_.items()) {
    const std::uint64_t differences =
        ((candidate[0] ^ sought[0]) & mask[0]) | ((candidate[1] ^ sought[1]) & mask[1]);
    if (differences == 0 && (first == none || comes_before(number, first))) first = number;
    ++number;
  }
  return first != none ? line_at(places_[first]) : search_line{};
}

// The first 15 bytes of the line as a window.
node_search::window node_search::window_of(std::string_view text) {
  std::array<char, sizeof(window)> bytes{};
  text = text.substr(0, longest_address);
  text = text.substr(0, text.find('\n'));
  text.copy(bytes.data(), text.size());
  return std::bit_cast<window>(bytes);
}

// The order of the output: by path, then by line.
bool node_search::comes_before(std::size_t left, std::size_t right) const {
  const place& first = places_[left];
  const place& second = places_[right];
  if (first.file == second.file) return first.line_start < second.line_start;
  return path_of(files_[first.file]).view() < path_of(files_[second.file]).view();
}

// Builds the output line: the file name when there are several files, then the line itself.
search_line node_search::line_at(const place& found) const {
  const node_file& node = files_[found.file];
  fixed_text<search_line::capacity + 1> read;
  std::string_view text{node.head.data(), node.head_size};
  if (found.line_start != 0) {
    const unique_file file = open_for_reading(path_of(node).c_str());
    if (!file || fseeko(file.get(), static_cast<off_t>(found.line_start), SEEK_SET) != 0) return {};
    read_line(file.get(), read.buffer());
    text = read.view();
  }
  text = text.substr(0, text.find('\n'));  // a carriage return stays, as with grep
  search_line line;
  if (files_.size() > 1) {
    line.assign_cut(path_of(node).view());
    line.append_cut(":");
  }
  line.append_cut(text);
  line.append_cut("\n");
  return line;
}
