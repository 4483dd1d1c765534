#include "base/shell.hpp"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string_view>

#include "base/files.hpp"
#include "base/handles.hpp"
#include "base/unit.hpp"

namespace {

bool holds_folder(std::string_view path, std::string_view folder) {
  for (;;) {
    const std::size_t colon = path.find(':');
    if (path.substr(0, colon) == folder) return true;
    if (colon == std::string_view::npos) return false;
    path.remove_prefix(colon + 1);
  }
}

void put_tools_into_path() {
  static constinit bool done = false;
  if (done) return;
  done = true;
  const char* path = std::getenv("PATH");
  if (path == nullptr || *path == '\0') {
    setenv("PATH", unit::default_path, 1);
    return;
  }
  char* longer_path = nullptr;
  if (holds_folder(path, unit::tool_folder)) return;
  if (asprintf(&longer_path, "%s:%s", path, unit::tool_folder) < 0) return;
  setenv("PATH", longer_path, 1);
  std::free(longer_path);
}

// Children say nothing on our standard error: some web servers put it into the answer.
class quiet_children {
 public:
  quiet_children() : saved_(fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1)) {
    const unique_fd nowhere{open("/dev/null", O_WRONLY | O_CLOEXEC)};
    if (saved_ && nowhere) dup2(nowhere.get(), STDERR_FILENO);
  }
  quiet_children(const quiet_children&) = delete;
  quiet_children& operator=(const quiet_children&) = delete;
  ~quiet_children() {
    if (saved_) dup2(saved_.get(), STDERR_FILENO);
  }

 private:
  unique_fd saved_;
};

// The client may have left. A tool that printed then would end by SIGPIPE, perhaps ahead of its work: from
// now on what is written to standard output goes nowhere.
void drop_answer_that_nobody_reads() {
  pollfd answer{STDOUT_FILENO, 0, 0};
  if (poll(&answer, 1, 0) <= 0 || (answer.revents & (POLLERR | POLLHUP)) == 0) return;
  const unique_fd nowhere{open("/dev/null", O_WRONLY | O_CLOEXEC)};
  if (nowhere) dup2(nowhere.get(), STDOUT_FILENO);
}

void prepare_command() {
  put_tools_into_path();
  std::fflush(stdout);
  drop_answer_that_nobody_reads();
}

}  // namespace

int shell_status(const char* command) {
  prepare_command();
  const quiet_children quiet;
  return std::system(command);
}

void shell_run(const char* command) {
  static_cast<void>(shell_status(command));
}

first_line shell_first_line(const char* command, std::span<char> line) {
  std::ranges::fill(line, '\0');
  prepare_command();
  const quiet_children quiet;
  const unique_pipe pipe{popen(command, "re")};
  if (!pipe) return first_line::not_started;
  return read_line(pipe.get(), line) > 0 ? first_line::read : first_line::none;
}
