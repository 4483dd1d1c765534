#include "listing/device_listing.hpp"

#include <array>
#include <cstddef>
#include <cstdio>
#include <string_view>

#include "base/clock.hpp"
#include "base/fixed_text.hpp"
#include "base/shell.hpp"
#include "base/text.hpp"
#include "cgi/state.hpp"
#include "discovery/api_message.hpp"
#include "discovery/discovery_state.hpp"
#include "discovery/model_catalogue.hpp"
#include "discovery/waiting.hpp"

namespace {

constexpr int encoder_mode = 1;
constexpr std::size_t datagram_size = 1500;

// Reads one of this unit's own settings, without its line end. Empty when the tool prints nothing. Returns
// false when no shell could be started.
bool read_own_setting(const char* command, fixed_text<64>& value) {
  const first_line result = shell_first_line(command, value);
  value.assign_cut(without_line_end(value.view()));
  return result != first_line::not_started;
}

// Writes the line of this unit. It is left out when no shell can be started.
void list_myself() {
  fixed_text<64> stream_host;
  fixed_text<64> stream_address;
  if (!read_own_setting("astparam g STREAM.HOST", stream_host)) return;
  static_cast<void>(read_own_setting("astparam g STREAM.ADDRESS", stream_address));
  std::fprintf(cgiOut, "%s,%s,%s\n", "MYSELF", stream_host.c_str(), stream_address.c_str());
}

// Writes a unit's line when it is of the wanted kind. Returns whether it did. Once most_units are listed
// further answers are a flood and are dropped.
bool list_answer(bool encoders, std::string_view answer) {
  if (device_count >= most_units) return false;
  fixed_text<32> model;
  get_reply_value(answer, "UNIT.MODEL", model);
  if (!(encoders ? is_encoder_model(model.view()) : is_decoder_model(model.view()))) return false;

  fixed_text<128> unit_id;
  fixed_text<32> address;
  fixed_text<32> stream;
  fixed_text<64> name;
  get_reply_value(answer, "UNIT.ID", unit_id);
  get_reply_value(answer, "IP.ADDRESS", address);
  get_reply_value(answer, encoders ? "STREAM.ADDRESS" : "STREAM.HOST", stream);
  get_reply_value(answer, "VW.NAME", name);
  std::fprintf(cgiOut, "%s,%s,%s", unit_id.c_str(), address.c_str(), stream.c_str());
  if (!encoders) std::fprintf(cgiOut, ",%s", name.c_str());
  std::fputc('\n', cgiOut);
  return true;
}

}  // namespace

int list_devices(int mode) {
  const bool encoders = mode == encoder_mode;
  device_count = 0;
  if (encoders) list_myself();
  const collection_time time;
  std::array<char, datagram_size + 1> answer;
  int silences = 0;
  while (!time.over()) {
    const arrival got = await_datagram(answer);
    if (got.is_datagram()) {
      if (list_answer(encoders, answer.data())) ++device_count;
      continue;
    }
    // An empty datagram or an error ends the list. So does one time-out once a unit is listed, else the
    // fifth.
    if (!got.timed_out() || ++silences >= five_silences || device_count > 0) break;
    pause_for(pause_after_silence);
  }
  return device_count;
}
