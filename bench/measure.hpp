// Measuring for the benches: runs a program as a web server would and prints rows of one table.
// Everything here runs inside the box.

#pragma once

#include <string>
#include <vector>

// What one run costs, the processes that it starts and waits for included.
struct cost {
  double processor_us;  // user and system time, in microseconds
  double own_us;        // of it, the program's own
  double page_faults;
  double peak_kib;  // of resident memory, of the largest process
};

// The environment and the standard input of a run; its answer goes to a file.
struct measured_request {
  std::vector<std::string> environment;  // NAME=value
  std::string input = "/dev/null";
  std::string output = "/tmp/bench.answer";
  bool piped = false;  // the input comes through a pipe, from a process whose cost is not counted
};

// Runs the program and waits for it. Ends the bench when it cannot be run or fails.
cost run_measured(const std::string& program, const measured_request& request);

// The mean of the middle half: a noisy machine disturbs single runs by much.
double middle_mean(std::vector<double> values);

// Prints one row: what was measured of the program and of its floor, their ratio, and whether the aim is met.
void print_row(const std::string& figure, double program, double floor, double aim);

// The content of a file; ends the bench when it cannot be read.
std::string content_of(const std::string& path);

[[noreturn]] void fail(const std::string& reason);
