#include "discovery/csv_compilation.hpp"

#include <array>
#include <string_view>

#include "base/files.hpp"
#include "base/shell.hpp"
#include "base/trace.hpp"
#include "base/unit.hpp"
#include "discovery/device_records.hpp"
#include "discovery/discovery_state.hpp"
#include "discovery/key_catalogue.hpp"
#include "discovery/logs.hpp"
#include "discovery/node_files.hpp"

namespace {

// The readers of these files expect what these two lists select, not what the model tables would. The encoder
// list lacks the wall-plate models T-PL, T-PL-K and T-PL-RF: the summary counts such units, but their lines
// are missing here.
constexpr const char* select_encoders =
    "grep -e \"TX610\" -e \"TX620\" -e \"TX630\" -e \"KestT\" -e \"KestT-PL\" -e \"KestT-PL-K\" "
    "-e \"KestT-PL-RF\" -e \"KestT-2\" -e \"QV8T\" /tmp/discover.csv > /tmp/encoders.csv";
constexpr const char* select_decoders =
    "grep -e \"RX610\" -e \"RX620\" -e \"RX630\" -e \"KestR\" -e \"KestR-2\" -e \"QV8R\" "
    "/tmp/discover.csv > /tmp/decoders.csv";

constexpr trace_log summary_file{unit::discover_info, short_command_size};

// One line of the CSV. The buffer has room for a comma, two quotes and the longest value in every column.
class csv_line {
 public:
  csv_line(const column_list& columns, const record_table& records, int row) {
    for (int column = 0; column < columns.size(); ++column) {
      // An excluded key that the unit reported has no field at all; one that it did not report has an empty
      // field. The comma depends on the column number, so the line starts with one when column 0 is left out.
      const bool excluded = (columns.classes(column) & KEY_CLASS_EXCLUDED) != 0;
      if (excluded && records.holds(row, column)) continue;
      if (column > 0) add(",");
      add_value(records.value(row, column));
    }
    add("\r\n");
  }

  [[nodiscard]] std::string_view view() const { return {text_.data(), length_}; }

 private:
  void add(std::string_view text) { length_ += text.copy(text_.data() + length_, text_.size() - length_); }

  void add_value(std::string_view value) {
    const std::string_view quote = value.find(',') != std::string_view::npos ? "\"" : "";
    add(quote);
    add(value);
    add(quote);
  }

  std::array<char, column_list::most_columns*(key_size + 2) + 2> text_;
  std::size_t length_ = 0;
};

}  // namespace

int cr(int count) {
  pass_log.line("cr() %d nodes", count);
  if (count < 1) return 0;
  device_count = count;
  kvp_alloc();
  for (int number = 0; number < device_count; ++number) {
    node_text buffer;
    kvp_parse_reply(read_node_file(number, buffer));
  }
  compile_records();
  shell_run("ls -l /tmp/node_* > /tmp/discover.last");
  delete_node_files();
  return 0;
}

void compile_records() {
  vdt_alloc();
  vdt_fill();
  kvp_sort();
  summary_file.replace("Total=%d&Ecount=%d&Dcount=%d~~~", device_count, encoder_count, decoder_count);
  wctf(unit::discover_csv);
  shell_run(select_encoders);
  shell_run(select_decoders);
  kvp_free();
  vdt_free();
}

void kvp_sort() {
  kvp_table.sort_by_first_column();
}

int wctf(const char* path) {
  append_csv_lines(path, key_header_table, kvp_table);
  return 0;
}

void append_csv_lines(const char* path, const column_list& columns, const record_table& records) {
  direct_file csv{path, write_mode::append};
  for (int row = 0; csv && row < records.rows(); ++row) {
    // A line that is cut off would set a wrong value when the CSV is imported again.
    if (!csv.write_whole(csv_line{columns, records, row}.view())) return;
  }
}
