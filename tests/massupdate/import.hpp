// Imports a CSV for a test.

#pragma once

#include <string>

#include "discovery/device_records.hpp"
#include "discovery/key_header.hpp"
#include "massupdate/import_csv.hpp"
#include "support/files.hpp"

// Loads the CSV under these keys of the unit, one a line. Returns the number of records.
inline int import(const std::string& keys, const std::string& csv) {
  write_file("/etc/keys.txt", keys);
  write_file("/tmp/import.csv", csv);
  ckht(discovery_mode, "/tmp/import2.csv");
  return load_import_csv("/tmp/import.csv");
}
