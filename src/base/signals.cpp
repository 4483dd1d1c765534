#include "base/signals.hpp"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <initializer_list>

namespace {

// Does nothing. A caught signal, unlike an ignored one, is reset to the default action in children.
void note_signal(int) {}

// Makes stdin read as EOF. A read that is blocked is restarted by the kernel and then sees EOF; so does one
// that was about to begin. When no fd is free for /dev/null the body goes on: closing stdin instead would
// give its number to the next file that is opened.
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

// Some web servers send SIGABRT when the client has left. From our own process it is abort(), which means a
// bug: clean up and die.
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
  // Some servers set SIGCHLD to SIG_IGN. We would inherit that, and waitpid could not return a status.
  std::signal(SIGCHLD, SIG_DFL);
}
