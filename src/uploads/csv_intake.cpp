#include "uploads/csv_intake.hpp"

#include <cstdio>

#include "base/files.hpp"
#include "base/shell.hpp"
#include "base/unit.hpp"
#include "cgi/state.hpp"

void import_csv_upload() {
  const file_mark before = mark_of(unit::import_csv);
  const file_mark staged = mark_of("/dev/shm/source_file");
  if (shell_status("mv /dev/shm/source_file /tmp/import.csv") != 0) {
    // Delete a truncated import: its last value may be incomplete, and a unit must never be sent half a
    // value. A file of full length stays, whether it is the new one or, unchanged, the previous one.
    const file_mark after = mark_of(unit::import_csv);
    if (after != before && after.size < staged.size) delete_file(unit::import_csv);
    std::fputs("<p>Failed to import csv file (C)</p>\n", cgiOut);
    return;
  }
  std::fputs("<p>Importing csv</p>\n", cgiOut);
  shell_run("unix2dos /tmp/import.csv");
}
