// request: processor time and page faults of a GET_CSV_DISCOVER request with a CSV of 64 KiB.
//   bench_request PROGRAM FLOOR   two files named handler.cgi: the guard looks for that name

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "measure.hpp"

namespace {

constexpr int rounds = 400;
constexpr std::size_t csv_size = 65536;

const measured_request get_csv{
    .environment = {"PATH=/bin:/usr/local/bin", "REQUEST_METHOD=GET", "QUERY_STRING=CMD=GET_CSV_DISCOVER"}};

void write_results() {
  std::ofstream summary{"/tmp/discover.info"};
  summary << "Total=300&Ecount=200&Dcount=100~~~\n";
  std::ofstream csv{"/tmp/discover.csv"};
  const std::string line =
      "10.77.1.1,UNIT-002,TX610,KU000002,00:11:22:33:44:55,\"Room 1, left\",239.77.1.1\r\n";
  for (std::size_t written = 0; written < csv_size; written += line.size()) csv << line;
}

// Everything that a run leaves: answer, request log and tool calls.
std::string visible_result(const std::string& program) {
  std::filesystem::remove("/var/log/tools.log");
  run_measured(program, get_csv);
  return content_of(get_csv.output) + content_of("/tmp/dbgCGI.log") + content_of("/var/log/tools.log");
}

}  // namespace

int main(int count, char** arguments) {
  if (count < 3) fail("usage: bench_request PROGRAM FLOOR");
  const std::string program = arguments[1];
  const std::string floor = arguments[2];
  write_results();
  if (visible_result(program) != visible_result(floor)) fail("program and floor give different results");

  std::vector<double> program_time;
  std::vector<double> floor_time;
  std::vector<double> program_faults;
  std::vector<double> floor_faults;
  for (int round = 0; round < rounds; ++round) {
    const cost program_cost = run_measured(program, get_csv);
    const cost floor_cost = run_measured(floor, get_csv);
    program_time.push_back(program_cost.processor_us);
    floor_time.push_back(floor_cost.processor_us);
    program_faults.push_back(program_cost.page_faults);
    floor_faults.push_back(floor_cost.page_faults);
  }
  constexpr double aim = 1.1;
  print_row("request: processor time, us", middle_mean(program_time), middle_mean(floor_time), aim);
  print_row("request: page faults", middle_mean(program_faults), middle_mean(floor_faults), aim);
}
