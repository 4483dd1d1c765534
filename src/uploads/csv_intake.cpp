#include "uploads/csv_intake.hpp"

#include <cstdio>

#include "base/files.hpp"
#include "base/shell.hpp"
#include "base/unit.hpp"
#include "cgi/state.hpp"

void import_csv_upload() {
  const file_mark before = mark_of(unit::import_csv);
  if (shell_status("mv /dev/shm/source_file /tmp/import.csv") != 0) {
    // What a full disk has cut is gone, lest a unit be sent a cut value. The CSV of before stays if it is
    // there still.
    if (mark_of(unit::import_csv) != before) delete_file(unit::import_csv);
    std::fputs("<p>Failed to import csv file (C)</p>\n", cgiOut);
    return;
  }
  std::fputs("<p>Importing csv</p>\n", cgiOut);
  shell_run("unix2dos /tmp/import.csv");
}
