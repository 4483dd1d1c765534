#include "massupdate/mass_update.hpp"

#include <cstdio>

#include "base/fixed_text.hpp"
#include "base/shell.hpp"
#include "base/text.hpp"
#include "cgi/state.hpp"
#include "discovery/discovery_state.hpp"
#include "massupdate/checks.hpp"
#include "massupdate/device_update.hpp"
#include "massupdate/import_records.hpp"
#include "massupdate/site_log.hpp"

namespace {

// Reads this unit's serial, without a line end. Leaves `serial` unchanged when no shell can be started.
void read_own_serial(fixed_text<64>& serial) {
  fixed_text<64> line;
  if (shell_first_line("astparam g UNIT.SERIAL", line) == first_line::not_started) return;
  serial.assign_cut(text_before_line_end(line.view()));
}

// True when the record has this unit's serial.
bool is_this_unit(int row, const fixed_text<64>& own_serial) {
  const int column = find_cell(import_header_table, kvp_table, row, "UNIT.SERIAL");
  return column != column_list::none && equal_no_case(kvp_table.value(row, column), own_serial.view());
}

void update_record(int row, const fixed_text<64>& own_serial) {
  // Before the test for duplicate data: this unit's line is written even when its record has some.
  if (is_this_unit(row, own_serial)) {
    std::fprintf(cgiOut, "Skipping Myself #%d \n", row);
    std::fflush(cgiOut);
    site_log.line("  Skipping send_device_update(%d) this is ME... ", row);
    return;
  }
  const unsigned flags = kvp_table.flags(row);
  if ((flags & duplicate_record) != 0) {
    site_log.line("  Skipping send_device_update(%d)... Duplicate Data Detected(0x%02x/0x%02x)) ", row, flags,
                  0U);
    return;
  }
  site_log.line("  Calling send_device_update(%d)... ", row);
  send_device_update(row);
}

void report_lack_of_memory() {
  std::fprintf(cgiOut, "Not enough memory for %d records, nothing is sent\n", current_record);
  site_log.line("  Not enough memory for %d records, nothing is sent ", current_record);
}

}  // namespace

int send_csv_to_devices() {
  site_log.replace(" Starting send_csv_to_devices()...%d ", current_record);
  shell_run(" cd /www; ln -s /tmp/site.log > /dev/null 2>&1");
  duplicate_check_vdt();
  duplicate_check_kvp();
  if (current_record > 0 && !kvp_table) {
    report_lack_of_memory();
    return 0;
  }
  fixed_text<64> own_serial;
  for (int row = 0; row < kvp_table.rows(); ++row) {
    read_own_serial(own_serial);  // the tool runs once for each record
    update_record(row, own_serial);
  }
  return 0;
}
