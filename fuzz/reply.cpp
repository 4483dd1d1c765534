// Device API replies: the input is the answers of several units, separated by zero bytes.

#include <algorithm>
#include <string>

#include "base/fixed_text.hpp"
#include "discovery/api_message.hpp"
#include "discovery/csv_compilation.hpp"
#include "discovery/device_records.hpp"
#include "discovery/discovery_state.hpp"
#include "discovery/key_header.hpp"
#include "fuzz.hpp"

namespace {

constexpr const char* csv_file = "/tmp/reply.csv";
constexpr std::size_t most_replies = 64;

void check_pairs(std::string_view reply) {
  reply_pair pair;
  for (;;) {
    const reply_segment segment = take_reply_pair(reply, pair);
    if (segment == reply_segment::none) break;
    if (segment == reply_segment::skipped) continue;
    require(pair.key.size() <= 63 && pair.value.size() <= 62, "a pair fits into its slot");
    require(pair.value.find('&') == std::string_view::npos, "a value ends at its \"&\"");
  }
  require(reply.find('&') == std::string_view::npos || reply.find('=') == std::string_view::npos,
          "every pair is taken");
}

void check_values(std::string_view reply) {
  for (const char* key : {"UNIT.ID", "IP.ADDRESS", "A", ""}) {
    fixed_text<16> value;
    const std::size_t length = get_reply_value(reply, key, value);
    require(length == value.view().size() && length < 16, "a value fits into its buffer");
  }
  static_cast<void>(is_success_reply(reply));
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const int columns = ckht(discovery_mode, csv_file);
  require(columns > 0, "the unit has keys");
  write_file(csv_file, "");
  std::string_view input = text_of(data, size);
  const auto replies = std::min(static_cast<std::size_t>(std::ranges::count(input, '\0')) + 1, most_replies);

  device_count = static_cast<std::int32_t>(replies);
  encoder_count = decoder_count = 0;
  kvp_alloc();
  vdt_alloc();
  for (std::size_t i = 0; i < replies; ++i) {
    const std::string_view reply = take_up_to(input, '\0');
    check_pairs(reply);
    check_values(reply);
    kvp_parse_reply(reply);
  }
  kvp_sort();
  wctf(csv_file);
  kvp_free();
  vdt_free();
  const std::string csv = read_file(csv_file);
  require(csv.ends_with("\r\n"), "a line ends");
  require(static_cast<std::size_t>(std::ranges::count(csv, ',')) >=
              replies * static_cast<std::size_t>(columns - 1),
          "every unit has a line with every column");
  return 0;
}
