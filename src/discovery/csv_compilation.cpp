#include "discovery/csv_compilation.hpp"

#include <algorithm>
#include <array>
#include <cstdio>
#include <memory>
#include <new>
#include <numeric>
#include <span>
#include <utility>

#include "base/files.hpp"
#include "base/fixed_text.hpp"
#include "base/shell.hpp"
#include "base/text.hpp"
#include "base/trace.hpp"
#include "base/unit.hpp"
#include "discovery/api_message.hpp"
#include "discovery/device_records.hpp"
#include "discovery/discovery_state.hpp"
#include "discovery/key_catalogue.hpp"
#include "discovery/model_catalogue.hpp"
#include "discovery/node_files.hpp"

namespace {

// Readers of these files know them made by these lists, not by the model tables: the encoder list does not name
// the wall-plate models T-PL, T-PL-K and T-PL-RF, so their lines are missing though the summary counts them.
constexpr const char* select_encoders =
    "grep -e \"TX610\" -e \"TX620\" -e \"TX630\" -e \"KestT\" -e \"KestT-PL\" -e \"KestT-PL-K\" "
    "-e \"KestT-PL-RF\" -e \"KestT-2\" -e \"QV8T\" /tmp/discover.csv > /tmp/encoders.csv";
constexpr const char* select_decoders =
    "grep -e \"RX610\" -e \"RX620\" -e \"RX630\" -e \"KestR\" -e \"KestR-2\" -e \"QV8R\" "
    "/tmp/discover.csv > /tmp/decoders.csv";

void count_model(const reply_pair& pair) {
  if (!equal_no_case(pair.key, "UNIT.MODEL")) return;
  if (is_decoder_model(pair.value)) {
    ++decoder_count;
  } else if (is_encoder_model(pair.value)) {
    ++encoder_count;
  }
}

void parse_node_file(int number) {
  std::array<char, node_text_size + 1> text{};
  if (const unique_file file = open_for_reading(node_path(number).c_str())) {
    static_cast<void>(std::fread(text.data(), 1, node_text_size, file.get()));
  }
  kvp_parse_reply(text.data());
}

void write_summary() {
  fixed_text<short_command_size> line;
  line.print("Total=%d&Ecount=%d&Dcount=%d~~~", device_count, encoder_count, decoder_count);
  trace_replace(unit::discover_info, short_command_size, line.view());
}

void write_field(std::FILE* csv, std::size_t slot, const key_header_entry& entry) {
  if ((entry.class_set & KEY_CLASS_EXCLUDED) != 0) return;
  const std::string_view value = entry.value.view();
  const bool quoted = value.find(',') != std::string_view::npos;
  if (slot > 0) std::fputc(',', csv);
  if (quoted) std::fputc('"', csv);
  std::fwrite(value.data(), 1, value.size(), csv);
  if (quoted) std::fputc('"', csv);
}

}  // namespace

int cr(int count) {
  fixed_text<short_command_size> line;
  line.print("cr() %d nodes", count);
  trace_append(unit::pass_log, short_command_size, line.view());
  if (count < 1) return 0;
  device_count = count;
  compile_node_files();
  shell_run("ls -l /tmp/node_* > /tmp/discover.last");
  delete_node_files();
  return 0;
}

void compile_node_files() {
  kvp_alloc();
  vdt_alloc();
  for (int number = 0; number < device_count; ++number) parse_node_file(number);
  kvp_sort();
  write_summary();
  wctf(unit::discover_csv);
  shell_run(select_encoders);
  shell_run(select_decoders);
  kvp_free();
  vdt_free();
}

int kvp_parse_reply(std::string_view text) {
  int segments = 0;
  for (;; ++segments) {
    reply_pair pair;
    const reply_segment segment = take_reply_pair(text, pair);
    if (segment == reply_segment::none) break;
    if (segment == reply_segment::skipped) continue;
    kvp_set_value(discovery_mode, pair.key, pair.value);
    count_model(pair);
  }
  ++current_record;
  return segments;
}

namespace {

std::string_view first_value(std::size_t record) {
  return kvp_table[record].slots[0].value.view();
}

// Copies the columns in use and nothing else, so that the rest of a record never takes memory.
void copy_record(const kvp_record& from, kvp_record& to) {
  std::copy_n(from.slots.begin(), key_header_count, to.slots.begin());
  to.record_flags = from.record_flags;
}

// Puts record order[i] at place i, for every i, moving one circle of records after the other.
void put_in_order(std::span<std::size_t> order) {
  for (std::size_t start = 0; start < order.size(); ++start) {
    if (order[start] == start) continue;
    kvp_record first;
    copy_record(kvp_table[start], first);
    std::size_t place = start;
    while (order[place] != start) {
      copy_record(kvp_table[order[place]], kvp_table[place]);
      place = std::exchange(order[place], place);
    }
    copy_record(first, kvp_table[place]);
    order[place] = place;
  }
}

}  // namespace

void kvp_sort() {
  const auto count = static_cast<std::size_t>(vdt_count);
  const std::unique_ptr<std::size_t[]> numbers{new (std::nothrow) std::size_t[count]};
  if (!kvp_table || !numbers) return;
  const std::span order{numbers.get(), count};
  std::iota(order.begin(), order.end(), std::size_t{0});
  std::ranges::sort(order, [](std::size_t left, std::size_t right) {
    const int difference = first_value(left).compare(first_value(right));
    return difference != 0 ? difference < 0 : left < right;
  });
  put_in_order(order);
  // The first of equals stays; the others leave empty records behind all that stay.
  std::size_t kept = 0;
  for (std::size_t record = 0; record < count; ++record) {
    if (kept > 0 && first_value(record) == first_value(kept - 1)) continue;
    if (record != kept) copy_record(kvp_table[record], kvp_table[kept]);
    ++kept;
  }
  for (; kept < count; ++kept) copy_record({}, kvp_table[kept]);
}

int wctf(const char* path) {
  const unique_file csv = open_for_writing(path, write_mode::append);
  if (!csv || device_count <= 0 || !kvp_table) return 0;
  const off_t header_length = file_length(csv.get());
  for (std::size_t record = 0; record < static_cast<std::size_t>(device_count); ++record) {
    for (std::size_t slot = 0; slot < static_cast<std::size_t>(key_header_count); ++slot) {
      write_field(csv.get(), slot, kvp_table[record].slots[slot]);
    }
    std::fputs("\r\n", csv.get());
  }
  // A line that is cut would set a cut value if it was imported again.
  flush_or_cut_back(csv.get(), header_length);
  return 0;
}
