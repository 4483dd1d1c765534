// start: the instructions of a refused request, and the stripped size of the program.
//   bench_start PROGRAM FLOOR ARM-PROGRAM
// Under valgrind the process has another name. So pidof does not find it, and the guard refuses the request.

#include <cstdlib>
#include <filesystem>
#include <string>

#include "measure.hpp"

namespace {

// The instructions of the process without its children.
double instructions_of(const std::string& program) {
  const std::string command = "REQUEST_METHOD=GET valgrind --tool=callgrind --callgrind-out-file=/dev/null " +
                              program + " 2> /tmp/callgrind.log > /tmp/bench.answer";
  if (std::system(command.c_str()) != 0) fail(content_of("/tmp/callgrind.log"));
  const bool refused = content_of("/tmp/bench.answer").find("ERROR_RORRE") != std::string::npos;
  if (!refused) fail(program + " was not refused");
  const std::string log = content_of("/tmp/callgrind.log");
  const std::string title = "Collected : ";
  const std::size_t found = log.find(title);
  if (found == std::string::npos) fail(log);
  return std::strtod(log.c_str() + found + title.size(), nullptr);
}

double kibibytes(const std::string& path) {
  return static_cast<double>(std::filesystem::file_size(path)) / 1024;
}

}  // namespace

int main(int count, char** arguments) {
  if (count != 4) fail("usage: bench_start PROGRAM FLOOR ARM-PROGRAM");
  constexpr double most_times_the_floor = 3;
  constexpr double armhf_limit_kib = 600;
  print_row("start: instructions until a refused request ends", instructions_of(arguments[1]),
            instructions_of(arguments[2]), most_times_the_floor);
  print_row("start: size of release, KiB (floor: the C program)", kibibytes(arguments[1]),
            kibibytes(arguments[2]), most_times_the_floor);
  print_row("start: size of armhf, KiB (floor: the limit)", kibibytes(arguments[3]), armhf_limit_kib, 1);
}
