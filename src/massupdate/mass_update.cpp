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

// This unit's serial, without a line end. When no shell can be started it stays as it was.
void read_own_serial(fixed_text<64>& serial) {
  fixed_text<64> line;
  if (shell_first_line("astparam g UNIT.SERIAL", line) == first_line::not_started) return;
  serial.assign_cut(text_before_line_end(line.view()));
}

bool is_this_unit(const kvp_record& record, const fixed_text<64>& own_serial) {
  const int slot = find_slot(record, import_header_count, "UNIT.SERIAL");
  return slot < import_header_count &&
         equal_no_case(record.slots[static_cast<std::size_t>(slot)].value.view(), own_serial.view());
}

void update_record(int row, const fixed_text<64>& own_serial) {
  const kvp_record& record = kvp_table[static_cast<std::size_t>(row)];
  site_line line;
  // Ahead of the test for duplicate data: this unit's line comes even when its record is one.
  if (is_this_unit(record, own_serial)) {
    std::fprintf(cgiOut, "Skipping Myself #%d \n", row);
    std::fflush(cgiOut);
    line.print("  Skipping send_device_update(%d) this is ME... ", row);
    append_to_site_log(line);
    return;
  }
  if ((record.record_flags & duplicate_record) != 0) {
    line.print("  Skipping send_device_update(%d)... Duplicate Data Detected(0x%02x/0x%02x)) ", row,
               static_cast<unsigned>(record.record_flags), 0U);
    append_to_site_log(line);
    return;
  }
  line.print("  Calling send_device_update(%d)... ", row);
  append_to_site_log(line);
  send_device_update(row);
}

void report_lack_of_memory() {
  std::fprintf(cgiOut, "Not enough memory for %d records, nothing is sent\n", current_record);
  site_line line;
  line.print("  Not enough memory for %d records, nothing is sent ", current_record);
  append_to_site_log(line);
}

}  // namespace

int send_csv_to_devices() {
  site_line line;
  line.print(" Starting send_csv_to_devices()...%d ", current_record);
  start_site_log(line);
  shell_run(" cd /www; ln -s /tmp/site.log > /dev/null 2>&1");
  duplicate_check_vdt();
  duplicate_check_kvp();
  if (current_record > 0 && !kvp_table) {
    report_lack_of_memory();
    return 0;
  }
  fixed_text<64> own_serial;
  for (int row = 0; row < current_record; ++row) {
    read_own_serial(own_serial);  // the tool is asked anew for each record
    update_record(row, own_serial);
  }
  return 0;
}
