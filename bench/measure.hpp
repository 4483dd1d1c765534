// Measuring for the benches: runs a program as a web server would, and prints the rows of one table.
// Everything runs in the box.

#pragma once

#include <string>
#include <vector>

// The cost of one run, including the processes that it starts and waits for.
struct cost {
  double processor_us;  // user and system time, in microseconds
  double own_us;        // the part of the program itself
  double page_faults;
  double peak_kib;  // peak resident memory of the largest process
};

// The environment and the stdin of a run. Its answer goes to a file.
struct measured_request {
  std::vector<std::string> environment;  // NAME=value
  std::string input = "/dev/null";
  std::string output = "/tmp/bench.answer";
  bool piped = false;  // through a pipe, from a process whose cost is not counted
};

// Runs the program and waits for it. Exits when it cannot be run or fails.
cost run_measured(const std::string& program, const measured_request& request);

// The mean of the middle half of the values, as single runs on a noisy machine vary widely.
double middle_mean(std::vector<double> values);

// Prints a row: the values of the program and of its floor, their ratio, and whether that is at most the aim.
void print_row(const std::string& figure, double program, double floor, double aim);

// Returns the content of a file. Exits when it cannot be read.
std::string content_of(const std::string& path);

// Prints the reason and exits with a failure.
[[noreturn]] void fail(const std::string& reason);
