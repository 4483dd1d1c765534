#include "measure.hpp"

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <numeric>

namespace {

double microseconds(const timeval& time) {
  return static_cast<double>(time.tv_sec) * 1e6 + static_cast<double>(time.tv_usec);
}

// Starts a process that writes the file into a pipe, as a web server passes a body. Returns the read end. A
// double fork makes the process a child of init, so nobody waits for it and its cost is not counted.
int piped(const std::string& file) {
  std::array<int, 2> ends{};
  if (pipe2(ends.data(), O_CLOEXEC) != 0) fail("no pipe");
  if (const pid_t between = fork(); between != 0) {
    close(ends[1]);
    waitpid(between, nullptr, 0);
    return ends[0];
  }
  if (fork() != 0) _exit(0);
  close(ends[0]);
  const int body = open(file.c_str(), O_RDONLY | O_CLOEXEC);
  while (splice(body, nullptr, ends[1], nullptr, std::size_t{1} << 20, 0) > 0) {
  }
  _exit(0);
}

// Turns this child into the program.
[[noreturn]] void become(const std::string& program, const measured_request& request) {
  std::vector<char*> environment;
  for (const std::string& variable : request.environment) {
    environment.push_back(const_cast<char*>(variable.c_str()));
  }
  environment.push_back(nullptr);
  dup2(request.piped ? piped(request.input) : open(request.input.c_str(), O_RDONLY), STDIN_FILENO);
  dup2(open(request.output.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0666), STDOUT_FILENO);
  dup2(open("/dev/null", O_WRONLY), STDERR_FILENO);
  char* const arguments[] = {const_cast<char*>(program.c_str()), nullptr};
  execve(program.c_str(), arguments, environment.data());
  _exit(127);
}

// The run time that the kernel counted for a process without its children. The process must be a zombie.
double time_without_children(pid_t process) {
  std::ifstream counted{"/proc/" + std::to_string(process) + "/schedstat"};
  double nanoseconds = 0;
  if (!(counted >> nanoseconds)) fail("no /proc/PID/schedstat here");
  return nanoseconds / 1000;
}

}  // namespace

cost run_measured(const std::string& program, const measured_request& request) {
  const pid_t process = fork();
  if (process == 0) become(program, request);
  int status = 0;
  rusage usage{};
  siginfo_t ended{};
  waitid(P_PID, static_cast<id_t>(process), &ended, WEXITED | WNOWAIT);
  const double own_us = time_without_children(process);
  if (wait4(process, &status, 0, &usage) != process || status != 0) fail(program + " failed");
  return {microseconds(usage.ru_utime) + microseconds(usage.ru_stime), own_us,
          static_cast<double>(usage.ru_minflt), static_cast<double>(usage.ru_maxrss)};
}

double middle_mean(std::vector<double> values) {
  std::ranges::sort(values);
  const auto quarter = static_cast<std::ptrdiff_t>(values.size() / 4);
  const auto first = values.begin() + quarter;
  const auto last = values.end() - quarter;
  return std::accumulate(first, last, 0.0) / static_cast<double>(last - first);
}

void print_row(const std::string& figure, double program, double floor, double aim) {
  const double ratio = program / floor;
  std::printf("%-52s %12.1f %12.1f %7.3f %7.2f  %s\n", figure.c_str(), program, floor, ratio, aim,
              ratio <= aim ? "ok" : "over");
}

std::string content_of(const std::string& path) {
  std::ifstream file{path, std::ios::binary};
  if (!file) fail("cannot read " + path);
  return {std::istreambuf_iterator<char>{file}, {}};
}

void fail(const std::string& reason) {
  std::fprintf(stderr, "bench: %s\n", reason.c_str());
  std::exit(EXIT_FAILURE);
}
