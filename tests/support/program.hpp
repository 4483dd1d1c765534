// Runs the built program as a web server would: its environment, its body, its answer.

#pragma once

#include <sys/types.h>

#include <functional>
#include <map>
#include <string>

struct request {
  std::map<std::string, std::string> environment;
  std::string body;
  std::string shell_prefix = {};  // shell text before the program's name, such as "ulimit -n 8; exec"
};

struct answer {
  int status;  // the exit status, or minus the number of the signal that ended it
  std::string out;
  std::string err;
};

// Requests as clients make them.
request get(const std::string& query);
request post(const std::string& body, const std::string& type = "application/x-www-form-urlencoded");
request post_file(const std::string& command, const std::string& content, const std::string& name = "f");

// Runs the program and waits until it exits. `meanwhile` is called with its pid while it runs.
answer run_program(const request& sent, const std::function<void(pid_t)>& meanwhile = {});

// Starts the program with these descriptors as its standard input and output; the caller closes them.
pid_t start_program(const request& sent, int in, int out);

// Waits for a started program. Returns its status as in `answer`.
int wait_for(pid_t process);

// Whether the program is built with sanitizers, which take memory and an address space of their own.
bool is_sanitized();

// Runs a shell command, such as curl or fleet, and returns what it writes to standard output.
std::string shell_output(const std::string& command);

// Waits until a shell command succeeds, for at most a minute or so.
void wait_until(const std::string& condition);

// Starts simulated units and waits until they can answer. What they print goes to /tmp/fleet.out.
void start_fleet(const std::string& options);

// The whole answer to a request that is refused, and the messages while another one or an update runs.
std::string refusal(const std::string& message);
inline const std::string busy_message =
    "&HANDLER=ERROR handler.cgi only supports one concurrent request, try again.\n";
inline const std::string updating_message = "&HANDLER=ERROR Firmware Update In Progress, try again later.\n";

// The whole answer to a request whose form data cannot be decoded.
inline const std::string undecodable = "Status: 500 Error reading form data\r\n\r\n";

// What the program writes around the body lines of a command.
std::string page(const std::string& command, const std::string& body);

// The body lines of a command's answer, or of its answer to a GET; all of an answer that is no page.
std::string body_of(const std::string& command, const std::string& answer);
std::string body_of(const std::string& command);
