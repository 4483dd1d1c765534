#include "handler/command_dispatcher.hpp"

#include <algorithm>
#include <array>
#include <cstdio>
#include <string_view>

#include "base/element.hpp"
#include "base/files.hpp"
#include "base/fixed_text.hpp"
#include "base/shell.hpp"
#include "base/unit.hpp"
#include "cgi/accessors.hpp"
#include "cgi/headers.hpp"
#include "cgi/state.hpp"
#include "discovery/csv_compilation.hpp"
#include "discovery/discovery_socket.hpp"
#include "discovery/discovery_state.hpp"
#include "discovery/key_header.hpp"
#include "discovery/logs.hpp"
#include "discovery/one_pass.hpp"
#include "discovery/reply_collection.hpp"
#include "listing/device_listing.hpp"
#include "massupdate/import_csv.hpp"
#include "uploads/csv_intake.hpp"
#include "uploads/edid.hpp"
#include "uploads/firmware.hpp"
#include "uploads/splash.hpp"
#include "uploads/staging.hpp"

namespace {

constexpr std::size_t line_size = 256;
using line_buffer = std::array<char, line_size>;

// Stages the upload. Returns false after a failure, which it answers with the command's own line.
bool upload_is_staged(const char* failure_line) {
  if (stage_uploaded_file() == 0) return true;
  std::fputs(failure_line, cgiOut);
  return false;
}

void take_firmware() {
  if (upload_is_staged("<p>Failed to update firmware</p>\n")) update_firmware();
}

template <int Index>
void take_edid() {
  if (upload_is_staged("<p>Failed to update edid</p>\n")) update_edid(Index);
}

void take_splash() {
  if (upload_is_staged("<p>Failed to update splash</p>\n")) update_splash();
}

void take_csv() {
  if (upload_is_staged("<p>Failed to import csv file (JS)</p>\n")) import_csv_upload();
}

// Queries all units and lists those that answer. Mode 1 lists encoders, 2 decoders.
void list_answering_devices(int mode) {
  const discovery_session session;
  if (session && send_discovery_query() != 0) list_devices(mode);
}

void discover_encoders() {
  // Links the splash image into the page's image folder. A link that exists stays.
  shell_run(" cd /www/images; ln -s /share/default.jpg > /dev/null 2>&1");
  list_answering_devices(1);
}

void discover_decoders() {
  list_answering_devices(2);
}

// The two-pass discovery: finds out which units answer, queries them one after the other and compiles the
// answers.
void discover_two_pass() {
  const int count = hsdr();
  pass_log.line("HANDLER: count is %d", count);
  for (int i = 0; i < count; ++i) {
    const int sent = suq(element(node_addresses, i));
    const int stored = collect_node_reply(i);
    pass_log.line("HANDLER: round %d/%d = %d,%d", i, count, sent, stored);
  }
  cr(count);
}

// Writes the CSV header, discovers the site in the mode that send_discovery_query read, and copies the CSV to
// the web server's folder. The socket is closed before the copy.
void discover_devices_api() {
  ckht(discovery_mode, unit::discover_csv);
  {
    const discovery_session session;
    if (!session || send_discovery_query() == 0) return;
    if (mcd_mode == 1) {
      mode_log.line("Running Original Discover Mode...");
      discover_one_pass();
    } else {
      mode_log.line("Running 2-Pass Discover Mode...");
      discover_two_pass();
    }
  }
  shell_run("cp /tmp/discover.csv /www/site.csv");
}

// Copies the file into the answer's body unchanged, or writes the line for a missing file.
void write_file(const char* path, const char* missing_line) {
  const unique_file file = open_for_reading(path);
  if (!file) {
    std::fputs(missing_line, cgiOut);
    return;
  }
  copy_stream(file.get(), cgiOut);
}

// Cuts the tildes off the end of the summary's line. They stay when a line end follows them.
std::string_view without_tildes(std::string_view line) {
  return line.substr(0, line.find_last_not_of('~') + 1);
}

void write_discovery_summary() {
  const unique_file file = open_for_reading(unit::discover_info);
  if (!file) return;
  line_buffer line;
  const bool empty = read_line(file.get(), line) == 0;
  const std::string_view summary = empty ? "---" : without_tildes(line.data());
  std::fprintf(cgiOut, "DISCOVERED CSV DATA: %.*s\n", static_cast<int>(summary.size()), summary.data());
}

void get_csv_discover() {
  write_discovery_summary();
  write_file(unit::discover_csv, "No Discover CSV File Present\n");
}

void get_csv_import() {
  write_file(unit::import_csv, "No Import CSV File Present\n");
}

// Discovers the site in one pass, whatever the mode setting, and then reads the imported CSV under the unit's
// keys. Flag 1 also sends it to the units. The second ckht gives the same columns; only its file differs.
template <int Flag>
void perform_import() {
  ckht(discovery_mode, unit::discover_csv);
  {
    const discovery_session session;
    if (session && send_discovery_query() != 0) discover_one_pass();
  }
  ckht(discovery_mode, "/tmp/import2.csv");
  read_import_csv(unit::import_csv, Flag);
}

void check_import_csv_status() {
  std::fputs(file_exists(unit::import_csv) ? "true" : "false", cgiOut);
}

// The lines of node_list without "<" and ">", their first two words.
void discover_devices() {
  shell_run("node_list | grep -v '<' | grep -v '>' | awk -F ' ' '{print $1, $2}' > /tmp/nodes.txt");
}

// Keeps lines that start like an address, and the heading that starts with "IP".
bool names_a_node(std::string_view line) {
  return (line[0] >= '1' && line[0] <= '9') || line.starts_with("IP");
}

void get_nodes() {
  const unique_file file = open_for_reading("/tmp/nodes.txt");
  if (!file) {
    std::fputs("No Nodes Detected\n", cgiOut);
    return;
  }
  std::fputs("Device Listing:\n", cgiOut);
  line_buffer line;
  // A line over 255 bytes is read in pieces, and each piece is tested as a line.
  while (const std::size_t length = read_line(file.get(), line)) {
    if (names_a_node({line.data(), length})) std::fwrite(line.data(), 1, length, cgiOut);
  }
}

struct command {
  std::string_view name;
  void (*perform)();
};

// Every command. A name must be equal in full, with letter case.
constexpr auto commands = std::to_array<command>({
    {"UPDATE_FIRMWARE", take_firmware},
    {"UPDATE_EDID", take_edid<0>},
    {"UPDATE_EDID1", take_edid<1>},
    {"UPDATE_EDID2", take_edid<2>},
    {"UPDATE_EDID3", take_edid<3>},
    {"UPDATE_SPLASH", take_splash},
    {"DISCOVER_ENCODERS", discover_encoders},
    {"DISCOVER_DECODERS", discover_decoders},
    {"DISCOVER_DEVICES_API", discover_devices_api},
    {"GET_CSV_DISCOVER", get_csv_discover},
    {"CSV_IMPORT", take_csv},
    {"GET_CSV_IMPORT", get_csv_import},
    {"PERFORM_CSV_IMPORT", perform_import<0>},
    {"PERFORM_CSV_UPDATE", perform_import<1>},
    {"CHECK_IMPORT_CSV_STATUS", check_import_csv_status},
    {"DISCOVER_DEVICES", discover_devices},
    {"GET_NODES", get_nodes},
});

void perform(std::string_view name) {
  const auto row = std::ranges::find(commands, name, &command::name);
  if (row != commands.end()) {
    row->perform();
  } else {
    std::fputs("<p>No command supplied</p>\n", cgiOut);
  }
}

}  // namespace

// The page shows at most 254 bytes of the command's name, and they are what is compared.
int cgiMain() {
  fixed_text<255> name;
  cgiFormString("CMD", name.buffer().data(), static_cast<int>(name.buffer().size()));
  cgiHeaderContentType("text/html");
  std::fputs(
      "<HTML><HEAD>\n"
      "<TITLE>Key and Value</TITLE>\n"
      "</HEAD><BODY>\n",
      cgiOut);
  std::fprintf(cgiOut, "<p>Key: %s value: %s</p>\n", "CMD", name.c_str());
  perform(name.view());
  std::fputs("</BODY></HTML>\n", cgiOut);
  return 0;
}
