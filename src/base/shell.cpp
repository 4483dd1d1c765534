#include "base/shell.hpp"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <string_view>

#include "base/command_line.hpp"
#include "base/handles.hpp"
#include "base/unit.hpp"

namespace {

constexpr int not_started_status = 127 << 8;  // the wait status of "exit 127", a shell's "not found"
constexpr pid_t none = -1;

// True when a PATH contains the folder.
bool contains_folder(std::string_view path, std::string_view folder) {
  for (;;) {
    const std::size_t colon = path.find(':');
    if (path.substr(0, colon) == folder) return true;
    if (colon == std::string_view::npos) return false;
    path.remove_prefix(colon + 1);
  }
}

// Appends the tools' folder to PATH unless it is in it. Done once, before the first command.
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
  if (contains_folder(path, unit::tool_folder)) return;
  if (asprintf(&longer_path, "%s:%s", path, unit::tool_folder) < 0) return;
  setenv("PATH", longer_path, 1);
  std::free(longer_path);
}

// Points our stderr to /dev/null while a child is started, so that the child inherits that: some web servers
// put what arrives on stderr into the answer.
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

// When the client has gone, points our stdout to /dev/null. Otherwise a tool that prints would be killed by
// SIGPIPE, perhaps before it did its work. The poll for errors and hang-ups of the answer's pipe or socket
// reports a closed reader without writing.
void drop_answer_that_nobody_reads() {
  pollfd answer{STDOUT_FILENO, 0, 0};
  if (poll(&answer, 1, 0) <= 0 || (answer.revents & (POLLERR | POLLHUP)) == 0) return;
  const unique_fd nowhere{open("/dev/null", O_WRONLY | O_CLOEXEC)};
  if (nowhere) dup2(nowhere.get(), STDOUT_FILENO);
}

// Ignores SIGINT and SIGQUIT while in scope, as system() does. The child would inherit that, so it gets the
// default action back.
class ignored_signals {
 public:
  ignored_signals() {
    struct sigaction ignore {};
    ignore.sa_handler = SIG_IGN;
    for (std::size_t i = 0; i < numbers.size(); ++i) sigaction(numbers[i], &ignore, &before_[i]);
  }
  ignored_signals(const ignored_signals&) = delete;
  ignored_signals& operator=(const ignored_signals&) = delete;
  ~ignored_signals() {
    for (std::size_t i = 0; i < numbers.size(); ++i) sigaction(numbers[i], &before_[i], nullptr);
  }

  // The signals to reset in a child: those that this process did not ignore before. One that the web server
  // made us ignore stays ignored, but only in a program that has not called catch_ending_signals.
  [[nodiscard]] sigset_t of_children() const {
    sigset_t set;
    sigemptyset(&set);
    for (std::size_t i = 0; i < numbers.size(); ++i) {
      if (before_[i].sa_handler != SIG_IGN) sigaddset(&set, numbers[i]);
    }
    return set;
  }

 private:
  static constexpr std::array numbers{SIGINT, SIGQUIT};
  std::array<struct sigaction, numbers.size()> before_{};
};

// The file actions and signals with which a child starts.
class child_start {
 public:
  child_start() {
    posix_spawn_file_actions_init(&files_);
    posix_spawnattr_init(&attributes_);
  }
  child_start(const child_start&) = delete;
  child_start& operator=(const child_start&) = delete;
  ~child_start() {
    posix_spawn_file_actions_destroy(&files_);
    posix_spawnattr_destroy(&attributes_);
  }

  // Each adds one step; the child does them in the order of the calls, before exec.
  void open(int descriptor, const char* path, int flags) {
    constexpr mode_t output_mode = 0666;
    complete_ &= posix_spawn_file_actions_addopen(&files_, descriptor, path, flags, output_mode) == 0;
  }
  void duplicate(int source, int descriptor) {
    complete_ &= posix_spawn_file_actions_adddup2(&files_, source, descriptor) == 0;
  }
  void default_signals(const sigset_t& signals) {
    posix_spawnattr_setsigdefault(&attributes_, &signals);
    posix_spawnattr_setflags(&attributes_, POSIX_SPAWN_SETSIGDEF);
  }

  // Starts a program, found through PATH unless its name contains a "/". Returns the child's pid, or none.
  [[nodiscard]] pid_t spawn(const char* program, char* const* words) const {
    pid_t child = none;
    return complete_ && posix_spawnp(&child, program, &files_, &attributes_, words, environ) == 0 ? child
                                                                                                  : none;
  }

 private:
  posix_spawn_file_actions_t files_;
  posix_spawnattr_t attributes_;
  bool complete_ = true;
};

// A command line that was started. Tries to start it without a shell first.
class running_command {
 public:
  // Starts the command with the fd `output` as its stdout. Keeps errno.
  running_command(const char* command, int output) {
    const int saved_errno = errno;
    put_tools_into_path();
    std::fflush(stdout);
    drop_answer_that_nobody_reads();
    const quiet_children quiet;
    if (const plain_command plain{command}) start(plain, output);
    if (child_ == none) start_shell(command, output);
    errno = saved_errno;
  }

  [[nodiscard]] bool started() const { return child_ != none; }

  // Waits for the command and returns its wait status. A command in the background returns 0 at once.
  [[nodiscard]] int wait() const {
    if (!started()) return not_started_status;
    const int saved_errno = errno;
    int status = 0;
    pid_t ended = child_;
    while (!in_background_ && (ended = waitpid(child_, &status, 0)) == -1 && errno == EINTR) continue;
    errno = saved_errno;
    return ended == child_ ? status : -1;
  }

 private:
  // The redirections come after `output`, so they win over it, as in a shell's pipeline.
  void start(const plain_command& plain, int output) {
    child_start child;
    if (plain.in_background()) {
      // What a shell without job control does for "&": stdin from /dev/null, SIGINT and SIGQUIT ignored.
      child.open(STDIN_FILENO, "/dev/null", O_RDONLY);
    } else {
      child.default_signals(signals_.of_children());
    }
    if (output != STDOUT_FILENO) child.duplicate(output, STDOUT_FILENO);
    for (const plain_command::redirection& change : plain.redirections()) {
      if (change.path != nullptr) {
        child.open(change.descriptor, change.path, change.flags);
      } else {
        child.duplicate(change.source, change.descriptor);
      }
    }
    child_ = child.spawn(plain.words()[0], plain.words());
    in_background_ = plain.in_background() && started();
  }

  void start_shell(const char* command, int output) {
    const std::array<const char*, 4> words{"sh", "-c", command, nullptr};
    child_start child;
    child.default_signals(signals_.of_children());
    if (output != STDOUT_FILENO) child.duplicate(output, STDOUT_FILENO);
    child_ = child.spawn("/bin/sh", const_cast<char* const*>(words.data()));
  }

  ignored_signals signals_;
  pid_t child_ = none;
  bool in_background_ = false;
};

// Reads up to the first line feed, EOF or a full buffer, whose last byte stays zero. Zeroes what was read
// after the line feed. Returns the number of bytes of the line.
std::size_t read_first_line(int descriptor, std::span<char> line) {
  std::size_t length = 0;
  while (length + 1 < line.size()) {
    const ssize_t read_now = read(descriptor, line.data() + length, line.size() - 1 - length);
    if (read_now < 0 && errno == EINTR) continue;
    if (read_now <= 0) break;
    char* const added = line.data() + length;
    const char* const added_end = added + read_now;
    length = static_cast<std::size_t>(added_end - line.data());
    char* const feed = std::find(added, line.data() + length, '\n');
    if (feed == added_end) continue;
    std::fill(feed + 1, line.data() + length, '\0');
    return static_cast<std::size_t>(feed + 1 - line.data());
  }
  return length;
}

}  // namespace

int shell_status(const char* command) {
  return running_command{command, STDOUT_FILENO}.wait();
}

void shell_run(const char* command) {
  static_cast<void>(shell_status(command));
}

first_line shell_first_line(const char* command, std::span<char> line) {
  std::ranges::fill(line, '\0');
  std::array<int, 2> ends;
  if (pipe2(ends.data(), O_CLOEXEC) != 0) return first_line::not_started;
  unique_fd output{ends[0]};
  unique_fd input{ends[1]};
  const running_command running{command, input.get()};
  // Close our copy of the write end, or the read below would never see EOF.
  input = unique_fd{};
  const std::size_t length = read_first_line(output.get(), line);
  output = unique_fd{};  // a command that still writes is killed by SIGPIPE
  static_cast<void>(running.wait());
  if (!running.started()) return first_line::not_started;
  return length > 0 ? first_line::read : first_line::none;
}
