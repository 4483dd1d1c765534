// update: the time that a mass update takes for a unit that answers at once. The floor, in this process,
// knows the messages and does only what a unit needs: it starts the two tools, opens the socket, sends the
// message and makes three round trips. It writes the page but no log.
//   bench_update

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

#include "cgi/state.hpp"
#include "discovery/device_records.hpp"
#include "discovery/key_header.hpp"
#include "massupdate/import_csv.hpp"
#include "massupdate/mass_update.hpp"
#include "measure.hpp"

namespace {

constexpr int units = 60;
constexpr int rounds = 21;
constexpr const char* page_file = "/tmp/page";
constexpr const char* heard_file = "/tmp/fleet.log";

struct bench_unit {
  std::string address;
  std::string message;
};

std::vector<bench_unit> write_site() {
  std::ofstream keys{"/etc/keys.txt"};
  std::ofstream csv{"/tmp/import.csv"};
  keys << "IP.ADDRESS\nUNIT.SERIAL\nUNIT.MODEL\nUNIT.ID\nSTREAM.RTP_ADDRESS\nSTREAM.BIT_RATE\nVIDEO.EDID\n";
  csv << "IP.ADDRESS,UNIT.SERIAL,UNIT.MODEL,UNIT.ID,STREAM.RTP_ADDRESS,STREAM.BIT_RATE,VIDEO.EDID\r\n";
  std::vector<bench_unit> site;
  for (int i = 0; i < units; ++i) {
    const std::string number = std::to_string(100 + i);
    const std::string address = "10.77.1." + number;
    csv << address << ",S" << number << ",TX610,U" << number << ",239.77.1." << number << ",100,DEFAULT\r\n";
    std::string message = "CMD=START&UNIT.ID=S";
    message.append(number).append("&UNIT.SET_ID=U").append(number).append("&STREAM.RTP_ADDRESS=239.77.1.");
    message.append(number).append("&STREAM.BIT_RATE=100&VIDEO.EDID=DEFAULT&CMD=END");
    site.push_back({address, message});
  }
  return site;
}

void start_fleet() {
  const std::string start =
      std::string{"fleet --units /tmp/import.csv --reboot-ms 0 --log "} + heard_file +
      " > /tmp/fleet.out & "
      "for i in $(seq 300); do grep -q ready /tmp/fleet.out && exit 0; sleep 0.1; done; exit 1";
  if (std::system(start.c_str()) != 0) fail("the fleet does not start");
}

void run_program() {
  ckht(discovery_mode, "/tmp/import2.csv");
  if (read_import_csv("/tmp/import.csv", 1) != units) fail("cannot import the CSV");
}

// Starts the tool directly and reads its first line from a pipe.
void start_tool(std::initializer_list<const char*> words) {
  std::vector<char*> arguments;
  for (const char* word : words) arguments.push_back(const_cast<char*>(word));
  arguments.push_back(nullptr);
  std::array<int, 2> ends;
  if (pipe2(ends.data(), O_CLOEXEC) != 0) fail("no pipe");
  posix_spawn_file_actions_t files;
  posix_spawn_file_actions_init(&files);
  posix_spawn_file_actions_adddup2(&files, ends[1], STDOUT_FILENO);
  pid_t child = 0;
  if (posix_spawnp(&child, arguments[0], &files, nullptr, arguments.data(), environ) != 0) fail(arguments[0]);
  posix_spawn_file_actions_destroy(&files);
  close(ends[1]);
  std::array<char, 64> line;
  [[maybe_unused]] const ssize_t length = read(ends[0], line.data(), line.size());
  close(ends[0]);
  waitpid(child, nullptr, 0);
}

sockaddr_in address_of(const char* dotted, in_port_t port) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(port);
  inet_aton(dotted, &address.sin_addr);
  return address;
}

int open_socket() {
  const int handle = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  const sockaddr_in any = address_of("0.0.0.0", 0);
  constexpr timeval wait{5, 0};
  constexpr unsigned char ttl = 64;
  if (bind(handle, reinterpret_cast<const sockaddr*>(&any), sizeof any) != 0) fail("cannot bind a socket");
  setsockopt(handle, SOL_SOCKET, SO_RCVTIMEO, &wait, sizeof wait);
  setsockopt(handle, IPPROTO_IP, IP_MULTICAST_TTL, &ttl, sizeof ttl);
  return handle;
}

// Sends the text and waits for the reply. Its sender becomes the address.
void round_trip(int handle, std::string_view text, sockaddr_in& address) {
  std::array<char, 1500> reply;
  auto* peer = reinterpret_cast<sockaddr*>(&address);
  socklen_t size = sizeof address;
  sendto(handle, text.data(), text.size(), 0, peer, size);
  if (recvfrom(handle, reply.data(), reply.size(), 0, peer, &size) <= 0) fail("a unit does not answer");
}

// The floor: one unit after the other.
void run_floor(const std::vector<bench_unit>& site) {
  for (std::size_t i = 0; i < site.size(); ++i) {
    start_tool({"astparam", "g", "UNIT.SERIAL"});
    start_tool({"qelparam", "g", "UNIT.MCD_TTL"});
    const int handle = open_socket();
    sockaddr_in address = address_of("226.0.0.19", 8000);
    round_trip(handle, site[i].message, address);
    round_trip(handle, "CMD=START&UNIT.ID=ALL&SAVE=TRUE&CMD=END", address);
    round_trip(handle, "CMD=START&UNIT.ID=ALL&REBOOT=TRUE&CMD=END", address);
    close(handle);
    std::fprintf(cgiOut, "Update Device #%zu @ %s Result is OK\n", i, site[i].address.c_str());
    std::fflush(cgiOut);
  }
}

// Runs the update. Returns the microseconds for one unit.
template <typename Update>
double time_of(Update update) {
  cgiOut = std::fopen(page_file, "w");
  const auto start = std::chrono::steady_clock::now();
  update();
  const std::chrono::duration<double, std::micro> took = std::chrono::steady_clock::now() - start;
  std::fclose(cgiOut);
  return took.count() / units;
}

// What an update shows to the page and to the units.
template <typename Update>
std::string visible_result(Update update) {
  const std::size_t heard_before = content_of(heard_file).size();
  time_of(update);
  return content_of(page_file) + content_of(heard_file).substr(heard_before);
}

}  // namespace

int main() {
  const std::vector<bench_unit> site = write_site();
  start_fleet();
  const auto floor = [&site] { run_floor(site); };
  if (visible_result(run_program) != visible_result(floor)) fail("program and floor give different results");
  std::vector<double> program_time;
  std::vector<double> floor_time;
  for (int round = 0; round < rounds; ++round) {
    program_time.push_back(time_of(run_program));
    floor_time.push_back(time_of(floor));
  }
  print_row("update: time a unit that answers at once, us", middle_mean(program_time),
            middle_mean(floor_time), 1.10);
}
