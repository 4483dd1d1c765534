// upload: decoding multipart bodies with one large file, the staging copy of such a file, and bodies made to
// cost the decoder as much as possible.
//   bench_upload PROGRAM FLOOR   two files named handler.cgi: the guard looks for that name
//
// The requests have no command, so the program ends directly after decoding. The floor starts the same three
// tools and writes the same answer. Both are measured as a whole, with their children.

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "cgi/form_entry.hpp"
#include "cgi/multipart.hpp"
#include "cgi/state.hpp"
#include "measure.hpp"
#include "uploads/staging.hpp"

namespace {

constexpr const char* body_file = "/tmp/body";
constexpr const char* staging_file = "/dev/shm/source_file";
constexpr std::size_t million = 1000000;
constexpr std::size_t large_file = std::size_t{256} << 20;
constexpr std::size_t block_size = 65536;
constexpr double peak_limit_kib = 2560;

// Starts with dashes, as browsers make them, so that parts of it look like its start.
const std::string boundary = "---------------------------9051914041544843365972754266";
const std::string delimiter = "--" + boundary;
const std::string near_delimiter = delimiter.substr(0, delimiter.size() - 1);
const std::string disposition = delimiter + "\r\nContent-Disposition: form-data; name=\"file\"";
const std::string file_header = disposition + "; filename=\"image.bin\"\r\n";
const std::string closing = "\r\n" + delimiter + "--\r\n";
const std::string one_field = disposition + "\r\n\r\nab\r\n";
const std::string header_line = "X-Header: value\r\n";

// A body: `head`, then `piece` repeated up to `size` bytes, then `tail`.
struct body {
  const char* name;
  std::string piece;
  std::size_t size;
  double aim;
  std::string head = file_header + "\r\n";
  std::string tail = closing;
  bool piped = false;
};

body preamble(std::size_t size) {
  return {"50 MB of preamble", near_delimiter, size, 40, "", "\r\n" + file_header + "\r\n" + closing};
}

std::string random_bytes() {
  std::mt19937 random{1};
  std::string bytes(block_size, '\0');
  std::ranges::generate(bytes, [&] { return static_cast<char>(random()); });
  return bytes;
}

std::string text_lines(const char* line_end) {
  std::mt19937 random{1};
  std::string text;
  while (text.size() < block_size) {
    for (auto left = 50 + random() % 40; left > 0; --left) text += static_cast<char>(' ' + random() % 95);
    text += line_end;
  }
  return text;
}

// Runs the work in a child, so that this process stays small: a program that it starts inherits its peak
// memory.
template <typename Work>
void in_child(Work work) {
  std::fflush(stdout);
  const pid_t process = fork();
  if (process == 0) {
    work();
    std::exit(EXIT_SUCCESS);
  }
  int status = 0;
  if (waitpid(process, &status, 0) != process || status != 0) fail("a child failed");
}

void write_body(const body& sent) {
  std::string block;
  while (block.size() < block_size) block += sent.piece;
  std::ofstream file{body_file, std::ios::binary};
  file << sent.head;
  for (std::size_t left = sent.size; left > 0; left -= std::min(left, block.size())) {
    file << std::string_view{block}.substr(0, left);
  }
  file << sent.tail;
  if (!file.flush()) fail("cannot write the body");
}

// Decodes the body in this process. Makes sure that it has fields: without a boundary there would be no work.
void decode_body() {
  cgiMultipartBoundary = boundary.c_str();
  cgiContentLength = static_cast<std::int32_t>(std::filesystem::file_size(body_file));
  cgiIn = std::fopen(body_file, "rb");
  const bool decoded = cgiIn != nullptr && cgiParsePostMultipartInput() == cgiParseSuccess;
  if (!decoded || cgiFormEntryFirst == nullptr) fail("cannot decode the body");
}

measured_request upload_request(bool piped = false) {
  return {.environment = {"PATH=/bin:/usr/local/bin", "REQUEST_METHOD=POST",
                          "CONTENT_TYPE=multipart/form-data; boundary=" + boundary,
                          "CONTENT_LENGTH=" + std::to_string(std::filesystem::file_size(body_file))},
          .input = body_file,
          .piped = piped};
}

// Everything that a run leaves: answer, request log and tool calls.
std::string visible_result(const std::string& program) {
  std::filesystem::remove("/var/log/tools.log");
  const measured_request request = upload_request();
  run_measured(program, request);
  return content_of(request.output) + content_of("/tmp/dbgCGI.log") + content_of("/var/log/tools.log");
}

struct result {
  double program_us;
  double floor_us;
  double peak_kib;  // of the program or of a tool that it starts, whichever is larger
};

// Sends the body to program and floor in turns.
result measure(char** programs, const body& sent, int rounds) {
  in_child([&] {
    write_body(sent);
    decode_body();
    cgiFreeResources();
  });
  const measured_request request = upload_request(sent.piped);
  result found{};
  std::vector<double> program_time;
  std::vector<double> floor_time;
  for (int round = 0; round < rounds; ++round) {
    const cost program = run_measured(programs[0], request);
    const cost floor = run_measured(programs[1], request);
    found.peak_kib = std::max(found.peak_kib, program.peak_kib);
    program_time.push_back(program.processor_us);
    floor_time.push_back(floor.processor_us);
  }
  found.program_us = middle_mean(program_time);
  found.floor_us = middle_mean(floor_time);
  return found;
}

// Prints a row for each body, and one for the highest peak memory of those whose memory must not grow with
// them.
void print_decoding(char** programs, const char* title, const std::vector<body>& bodies, int rounds) {
  double peak_kib = 0;
  for (const body& sent : bodies) {
    const result found = measure(programs, sent, rounds);
    const double mib = static_cast<double>(std::filesystem::file_size(body_file)) / (1 << 20);
    print_row(std::string{"upload: "} + sent.name + ", us a MiB", found.program_us / mib,
              found.floor_us / mib, sent.aim);
    if (sent.piece != one_field) peak_kib = std::max(peak_kib, found.peak_kib);
  }
  print_row(std::string{"upload: peak memory, "} + title + ", KiB (limit)", peak_kib, peak_limit_kib, 1);
}

// Compares the time per byte of a long preamble with that of a short one, without the request around it.
void print_proportion(char** programs) {
  constexpr int rounds = 15;
  const double frame = measure(programs, preamble(0), rounds).program_us;
  const double small = measure(programs, preamble(5 * million), rounds).program_us - frame;
  const double large = measure(programs, preamble(50 * million), rounds).program_us - frame;
  print_row("upload: preamble, us a MB (of 50, of 5)", large / 50, small / 5, 1.5);
}

// Prints the peak memory for a body that is kept in memory, against the body's size.
void print_memory(const char* program, const body& sent, const std::string& type) {
  in_child([&] { write_body(sent); });
  measured_request request = upload_request();
  if (!type.empty()) request.environment[2] = "CONTENT_TYPE=" + type;
  const double peak_kib = run_measured(program, request).peak_kib;
  print_row(std::string{"upload: peak memory, "} + sent.name + ", KiB (body)", peak_kib,
            static_cast<double>(std::filesystem::file_size(body_file)) / 1024, sent.aim);
}

double own_processor_us() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return static_cast<double>(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) * 1e6 +
         static_cast<double>(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec);
}

void copy_in_blocks(const char* from) {
  static char block[256 * 1024];
  const int in = open(from, O_RDONLY);
  const int out = open(staging_file, O_WRONLY | O_CREAT | O_TRUNC, 0666);
  for (ssize_t length = 0; (length = read(in, block, sizeof block)) > 0;) {
    if (write(out, block, static_cast<std::size_t>(length)) != length) fail("cannot copy the upload");
  }
  close(in);
  close(out);
}

// Decodes the body and stages its file repeatedly. Without the time of the tool that staging starts.
void print_staging(int rounds) {
  decode_body();
  std::vector<double> staging_time;
  std::vector<double> floor_time;
  for (int round = 0; round < rounds; ++round) {
    std::filesystem::remove(staging_file);
    const double start = own_processor_us();
    if (stage_uploaded_file() != 0) fail("cannot stage the upload");
    const double staged = own_processor_us();
    std::filesystem::remove(staging_file);
    const double removed = own_processor_us();
    copy_in_blocks(cgiFormEntryFirst->tfileName());
    floor_time.push_back((own_processor_us() - removed) / 1e3);
    staging_time.push_back((staged - start) / 1e3);
  }
  print_row("upload: staging copy of 256 MiB, ms", middle_mean(staging_time), middle_mean(floor_time), 1.5);
  cgiFreeResources();
  std::filesystem::remove(staging_file);
}

}  // namespace

int main(int count, char** arguments) {
  if (count < 3) fail("usage: bench_upload PROGRAM FLOOR");
  char** programs = arguments + 1;
  const std::vector<body> files = {
      {"near-boundaries", "\r\n" + near_delimiter, large_file, 1.25},
      {"carriage returns", "\r", large_file, 1.5},
      {"text lines (LF)", text_lines("\n"), large_file, 1.25},
      {"text lines (CR LF)", text_lines("\r\n"), large_file, 1.25},
      {"random bytes", random_bytes(), large_file, 1.25},
  };
  std::vector<body> piped{files[2], files[4]};
  piped[0].name = "text lines (LF), from a pipe";
  piped[1].name = "random bytes, from a pipe";
  for (body& sent : piped) sent.piped = true;
  const std::vector<body> hostile = {
      {"50 MB of carriage returns", "\r", 50 * million, 1.5},
      {"50 MB of near-boundaries", "\r\n" + near_delimiter, 50 * million, 1.25},
      preamble(50 * million),
      {"a million header lines", header_line, header_line.size() * million, 20, file_header,
       "\r\n" + closing},
      {"a million fields", one_field, one_field.size() * million, 20, "", delimiter + "--\r\n"},
  };
  in_child([&] { write_body(files.back()); });
  if (visible_result(programs[0]) != visible_result(programs[1])) {
    fail("program and floor give different results");
  }
  print_decoding(programs, "256 MiB", files, 15);
  in_child([] { print_staging(9); });
  print_decoding(programs, "256 MiB from a pipe", piped, 15);
  const std::string url_encoded = "application/x-www-form-urlencoded";
  const std::string browser_field = "UNIT.ID_of_a_unit=Meeting+room+12%2C+first+floor&";
  print_memory(programs[0],
               {"a plain field", random_bytes(), std::size_t{64} << 20, 1.3, disposition + "\r\n\r\n"}, "");
  print_memory(programs[0], {"url-encoded a&", "a&", std::size_t{8} << 20, 30, "", ""}, url_encoded);
  print_memory(programs[0], {"a browser's form", browser_field, std::size_t{8} << 20, 3.5, "", ""},
               url_encoded);
  print_decoding(programs, "hostile", hostile, 9);
  print_proportion(programs);
}
