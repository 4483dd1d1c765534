// import: reading 2,000 rows of 126 cells into records. The floor, in this process, is one pass over the file
// that keeps the offset and length of each cell. Also the peak memory of a request that imports the file.
//   bench_import PROGRAM   a file named handler.cgi

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string>
#include <string_view>
#include <vector>

#include "discovery/device_records.hpp"
#include "discovery/discovery_state.hpp"
#include "discovery/key_header.hpp"
#include "massupdate/import_csv.hpp"
#include "measure.hpp"

namespace {

constexpr int rows = 2000;
constexpr int columns = 126;
constexpr std::size_t file_cells = std::size_t{rows + 1} * columns;  // with the header line's
constexpr int rounds = 60;
constexpr const char* import_file = "/tmp/import.csv";

std::string cell_text(int row, int column) {
  return column == 0 ? "KU" + std::to_string(100000 + row) : "value " + std::to_string(row * column % 9999);
}

// Writes the keys file and the CSV. Returns the size of the CSV in bytes.
double write_site() {
  std::ofstream keys{"/etc/keys.txt"};
  std::ofstream csv{import_file, std::ios::binary};
  for (int column = 0; column < columns; ++column) {
    const std::string key = column == 0 ? "UNIT.SERIAL" : "TEST.K" + std::to_string(100 + column);
    keys << key << '\n';
    csv << (column > 0 ? "," : "") << key;
  }
  for (int row = 0; row < rows; ++row) {
    csv << "\r\n";
    for (int column = 0; column < columns; ++column) csv << (column > 0 ? "," : "") << cell_text(row, column);
  }
  csv << "\r\n";
  return static_cast<double>(csv.tellp());
}

struct place {
  std::uint32_t start;
  std::uint32_t length;
};

// The file and its cells. From malloc, so that only pages with content are touched.
struct floor_import {
  char* text = nullptr;
  std::size_t size = 0;
  place* cells = nullptr;
  std::size_t count = 0;
};

floor_import read_floor() {
  floor_import read;
  const int file = open(import_file, O_RDONLY);
  struct stat status {};
  fstat(file, &status);
  read.text = static_cast<char*>(std::malloc(static_cast<std::size_t>(status.st_size)));
  read.cells = static_cast<place*>(std::malloc(file_cells * sizeof(place)));
  while (const ssize_t length = ::read(file, read.text + read.size, 1U << 16)) {
    if (length < 0) fail("cannot read the CSV");
    read.size += static_cast<std::size_t>(length);
  }
  close(file);
  const char* const end = read.text + read.size;
  for (const char* line = read.text; line < end;) {
    const auto* line_end =
        static_cast<const char*>(std::memchr(line, '\n', static_cast<std::size_t>(end - line)));
    for (const char* cell = line; cell <= line_end;) {
      const auto* comma =
          static_cast<const char*>(std::memchr(cell, ',', static_cast<std::size_t>(line_end - cell)));
      const char* const cell_end = comma != nullptr ? comma : line_end - 1;
      read.cells[read.count++] = {static_cast<std::uint32_t>(cell - read.text),
                                  static_cast<std::uint32_t>(cell_end - cell)};
      cell = comma != nullptr ? comma + 1 : line_end + 1;
    }
    line = line_end + 1;
  }
  return read;
}

// Compares every cell that the two have read.
void expect_same_cells(const floor_import& floor) {
  if (floor.count != file_cells) fail("the floor does not find every cell");
  for (int number = 0; number < rows * columns; ++number) {
    const place& cell = floor.cells[columns + number];
    if (kvp_table.value(number / columns, number % columns) !=
        std::string_view{floor.text + cell.start, cell.length}) {
      fail("program and floor read different cells");
    }
  }
}

double processor_us() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return static_cast<double>(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) * 1e6 +
         static_cast<double>(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec);
}

double program_time() {
  const double start = processor_us();
  if (load_import_csv(import_file) != rows) fail("cannot import the CSV");
  kvp_free();
  return processor_us() - start;
}

double floor_time() {
  const double start = processor_us();
  const floor_import read = read_floor();
  std::free(read.text);
  std::free(read.cells);
  return processor_us() - start;
}

}  // namespace

int main(int count, char** arguments) {
  if (count < 2) fail("usage: bench_import PROGRAM");
  const double file_size = write_site();
  const cost request =
      run_measured(arguments[1], {.environment = {"PATH=/bin:/usr/local/bin", "REQUEST_METHOD=GET",
                                                  "QUERY_STRING=CMD=PERFORM_CSV_IMPORT"}});
  ckht(discovery_mode, "/tmp/import2.csv");
  load_import_csv(import_file);
  expect_same_cells(read_floor());
  std::vector<double> program;
  std::vector<double> floor;
  for (int round = 0; round < rounds; ++round) {
    program.push_back(program_time());
    floor.push_back(floor_time());
  }
  print_row("import: 2,000 rows of 126 cells, us", middle_mean(program), middle_mean(floor), 1.5);
  print_row("import: peak memory, KiB (the file and 2 MiB)", request.peak_kib, file_size / 1024 + 2048, 1);
}
