#include "uploads/edid.hpp"

#include <array>
#include <cstddef>
#include <cstdio>
#include <span>
#include <string_view>

#include "base/files.hpp"
#include "base/fixed_text.hpp"
#include "base/handles.hpp"
#include "base/shell.hpp"
#include "cgi/state.hpp"
#include "uploads/local_api.hpp"

namespace {

constexpr std::size_t edid_size = 256;
constexpr std::size_t bytes_a_line = 16;
constexpr const char* block_file = "/tmp/edid.bin";
constexpr const char* text_file = "/tmp/edid.edid";

using command_text = fixed_text<256>;

int fail_on_page(const char* line) {
  std::fputs(line, cgiOut);
  return -1;
}

// The driver's format: 16 bytes a line, a comma after each.
void print_lines(std::span<const unsigned char> block, std::FILE* text) {
  for (std::size_t i = 0; i < block.size(); ++i) {
    std::fprintf(text, "0x%02x,%s", block[i], i % bytes_a_line == bytes_a_line - 1 ? "\n" : "");
  }
}

// Writes the EDID to the driver and makes the unit use a custom one from now on.
int install_active_edid() {
  std::fputs("<p>Updating edid</p>\n", cgiOut);
  if (write_edid_text(block_file) != 0) return fail_on_page("<p>Error: Failed to update EDID</p>\n");
  shell_run("cat /tmp/edid.edid > /sys/devices/platform/videoip/eeprom_content");
  shell_run("qelparam s VIDEO.EDID CUSTOM");
  shell_run("qelparam save");
  shell_run("rm /tmp/edid.bin /tmp/edid.edid");
  return 0;
}

// True when the file has exactly 256 bytes. Reads up to 512 to notice a longer one.
bool is_exactly_one_block() {
  const unique_file file = open_for_reading(block_file);
  std::array<char, 2 * edid_size> bytes;
  return file && std::fread(bytes.data(), 1, bytes.size(), file.get()) == edid_size;
}

// The API service saves its configuration first and selects the new EDID last: the order of the two messages.
int install_custom_edid(int number) {
  if (!is_exactly_one_block()) return fail_on_page("<p>Error: Invalid EDID</p>\n");
  command_text command;
  command.print("mv /tmp/edid.bin /share/CUSTOM_%d.cbin", number);
  shell_run(command.c_str());
  command.print("cp /share/CUSTOM_%d.cbin /config/CUSTOM_%d.cbin", number, number);
  shell_run(command.c_str());
  if (send_local_api_command("CMD=START&UNIT.ID=ALL&CONFIG.SAVE=TRUE&CMD=END") != 0) {
    return fail_on_page("<p>Error: API command to update EDID failed</p>\n");
  }
  command.print("qelparam s VIDEO.EDID%d CUSTOM", number);
  shell_run(command.c_str());
  shell_run("qelparam save");
  command.print("CMD=START&UNIT.ID=ALL&VIDEO.EDID%d=CUSTOM&CMD=END", number);
  return send_local_api_command(command.view());
}

}  // namespace

int write_edid_text(const char* path) {
  const unique_file file = open_for_reading(path);
  unique_file text = open_for_writing(text_file, write_mode::replace);
  if (!file || !text) return -1;
  std::array<unsigned char, edid_size> block;
  const bool whole = std::fread(block.data(), 1, block.size(), file.get()) == block.size();
  if (whole) print_lines(block, text.get());
  // fclose reports what a full disk did not take.
  return std::fclose(text.release()) == 0 && whole ? 0 : -1;
}

int update_edid(int index) {
  if (shell_status("mv /dev/shm/source_file /tmp/edid.bin") != 0) {
    return fail_on_page("<p>Error: Failed to update EDID</p>\n");
  }
  return index == 0 ? install_active_edid() : install_custom_edid(index);
}
