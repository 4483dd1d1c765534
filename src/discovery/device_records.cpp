#include "discovery/device_records.hpp"

#include <algorithm>
#include <array>
#include <cstdlib>

#include "base/element.hpp"
#include "base/text.hpp"
#include "discovery/api_message.hpp"
#include "discovery/discovery_state.hpp"
#include "discovery/key_header.hpp"
#include "discovery/model_catalogue.hpp"
#include "discovery/node_files.hpp"

namespace {

// Which key fills which text of a vdt record.
struct vdt_column {
  std::string_view key;
  fixed_text<64> vdt_record::*text;
};

constexpr auto vdt_columns = std::to_array<vdt_column>({
    {"UNIT.SERIAL", &vdt_record::serial},
    {"IP.ADDRESS", &vdt_record::address},
    {"UNIT.ID", &vdt_record::unit_id},
});

// Stores a pair in the row. Returns its column, or none when no column has the key. Without memory it
// releases the table: a missing value would look like one that the unit does not have.
int store_pair(const column_list& columns, record_table& records, int row, const reply_pair& pair) {
  const int column = columns.find(pair.key);
  if (column == column_list::none || row >= records.rows()) return column_list::none;
  if (records.set(row, column, pair.value)) return column;
  records.release();
  return column_list::none;
}

// Raises encoder_count or decoder_count when the pair is a UNIT.MODEL with a known model.
void count_model(const reply_pair& pair) {
  if (!equal_no_case(pair.key, "UNIT.MODEL")) return;
  if (is_decoder_model(pair.value)) {
    ++decoder_count;
  } else if (is_encoder_model(pair.value)) {
    ++encoder_count;
  }
}

// Stores the complete pairs and takes them off the text.
void read_pairs(std::string_view& text, const column_list& columns, record_table& records, int row) {
  for (;;) {
    reply_pair pair;
    const reply_segment segment = take_reply_pair(text, pair);
    if (segment == reply_segment::none) return;
    if (segment == reply_segment::skipped) continue;
    store_pair(columns, records, row, pair);
    count_model(pair);
  }
}

}  // namespace

void kvp_alloc() {
  current_record = 0;
  kvp_table.release();
  if (device_count <= 0) return;
  kvp_table.start(key_header_table.size());
  while (kvp_table.rows() < device_count) {
    if (kvp_table.append_row()) continue;
    kvp_table.release();
    return;
  }
}

void vdt_alloc() {
  if (device_count < 1) return;
  vdt = zeroed_array<vdt_record>(static_cast<std::size_t>(device_count));
  vdt_count = device_count;
}

void kvp_free() {
  kvp_table.release();
}

void vdt_free() {
  vdt.reset();
}

void vdt_fill() {
  if (!vdt) return;
  for (const vdt_column& column : vdt_columns) {
    const int held = key_header_table.find_no_case(column.key);
    for (int row = 0; held != column_list::none && row < kvp_table.rows(); ++row) {
      (element(vdt, row).*column.text).assign_cut(kvp_table.value(row, held));
    }
  }
}

int kvp_set_value(int mode, std::string_view key, std::string_view value) {
  const column_list& columns = mode == discovery_mode ? key_header_table : import_header_table;
  return store_pair(columns, kvp_table, current_record, {key, value});
}

int kvp_parse_reply(std::string_view text) {
  const auto segments = std::ranges::count(text, '&');
  read_pairs(text, key_header_table, kvp_table, current_record);
  ++current_record;
  return static_cast<int>(segments);
}

arriving_answers::~arriving_answers() {
  for (const answer& unit : answers_.items()) std::free(unit.rest);
}

void arriving_answers::add_unit() {
  const bool added = records_ && records_.append_row();
  if (!answers_.append({nullptr, 0, 0}) || !added) records_.release();
}

void arriving_answers::add(int unit, std::string_view piece) {
  if (unit >= count_of(answers_)) return;
  answer& known = element(answers_, unit);
  piece = piece.substr(0, node_text_size - known.length);
  const std::string_view added = text_before_zero(piece);
  std::array<char, node_text_size> joined;
  std::copy_n(known.rest, known.rest_length, joined.data());
  added.copy(joined.data() + known.rest_length, added.size());
  std::string_view text{joined.data(), known.rest_length + added.size()};
  read_pairs(text, columns_, records_, unit);

  // `known.length` counts up to node_text_size, after which every piece is cut to nothing. A zero byte has
  // the same effect.
  const bool ended = added.size() < piece.size();
  known.length = static_cast<std::uint16_t>(ended ? node_text_size : known.length + added.size());
  keep_rest(known, known.length < node_text_size ? text : std::string_view{});
}

// Replaces the unit's unparsed text.
void arriving_answers::keep_rest(answer& known, std::string_view text) {
  std::free(known.rest);
  known.rest = text.empty() ? nullptr : static_cast<char*>(std::malloc(text.size()));
  known.rest_length = 0;
  if (text.empty()) return;
  if (known.rest == nullptr) {
    records_.release();
    return;
  }
  text.copy(known.rest, text.size());
  known.rest_length = static_cast<std::uint16_t>(text.size());
}
