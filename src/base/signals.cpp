#include "base/signals.hpp"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <initializer_list>

namespace {

void note_signal(int) {}

// Puts the empty device in the place of standard input. A read that waits is restarted by the system and
// then finds the end; one that was about to begin finds it too. Without a free descriptor the body goes on: a
// standard input that was closed would be the place of the next file.
void end_standard_input(int) {
  const int saved_errno = errno;
  const int empty = open("/dev/null", O_RDONLY | O_CLOEXEC);
  if (empty >= 0) {
    dup2(empty, STDIN_FILENO);
    close(empty);
  }
  errno = saved_errno;
}

using procedure = void (*)();
constinit procedure before_our_abort = nullptr;

// Some web servers send SIGABRT when the client has left. Our own abort() means a bug: clean up and die.
void end_by_abort(int number, siginfo_t* about, void*) {
  if (about->si_pid != getpid()) {
    end_standard_input(number);
    return;
  }
  before_our_abort();
  std::signal(number, SIG_DFL);
  raise(number);
}

void catch_signal(int number, void (*handler)(int)) {
  struct sigaction action {};
  action.sa_handler = handler;
  action.sa_flags = SA_RESTART;
  sigaction(number, &action, nullptr);
}

void catch_abort() {
  struct sigaction action {};
  action.sa_sigaction = end_by_abort;
  action.sa_flags = SA_RESTART | SA_SIGINFO;
  sigaction(SIGABRT, &action, nullptr);
}

}  // namespace

void catch_ending_signals(void (*at_our_abort)()) {
  before_our_abort = at_our_abort;
  catch_abort();
  for (const int number : {SIGPIPE, SIGHUP, SIGXFSZ}) catch_signal(number, note_signal);
  for (const int number : {SIGTERM, SIGINT, SIGQUIT, SIGXCPU, SIGALRM, SIGUSR1, SIGUSR2}) {
    catch_signal(number, end_standard_input);
  }
  sigset_t none;
  sigemptyset(&none);
  sigprocmask(SIG_SETMASK, &none, nullptr);
  // Some web servers ignore their children's ends, and we inherit that: no command would have a status.
  std::signal(SIGCHLD, SIG_DFL);
}
