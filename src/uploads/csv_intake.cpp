#include "uploads/csv_intake.hpp"

#include <cstdio>

#include "base/shell.hpp"
#include "cgi/state.hpp"

void import_csv_upload() {
  if (shell_status("mv /dev/shm/source_file /tmp/import.csv") != 0) {
    std::fputs("<p>Failed to import csv file (C)</p>\n", cgiOut);
    return;
  }
  std::fputs("<p>Importing csv</p>\n", cgiOut);
  shell_run("unix2dos /tmp/import.csv");
}
