// Signals: a web client that leaves must not end a command half way or leave the link stopped.

#pragma once

// Catches for the rest of the process what would end it, so that a command that has begun runs to its end:
//   SIGPIPE, SIGHUP      the client is gone; nothing changes
//   SIGXFSZ              the write beyond the limit of file size fails, as on a full disk
//   SIGTERM, SIGINT, SIGQUIT, SIGXCPU, SIGALRM, SIGUSR1, SIGUSR2
//                        standard input is at its end, so a request whose body is still being read fails as one
//                        that was cut short, and cleans up after itself
//   SIGABRT              the same from another process; from this one, a failed check of a library for example, it
//                        calls at_our_abort, which may do only what a signal handler may, and ends the process
// They are caught, not ignored, even where the web server ignored or blocked them: children start with the default
// action, so that a tool whose output nobody reads any more ends.
// The end of a child is given its default action back, which shell.hpp needs to learn a command's status.
void catch_ending_signals(void (*at_our_abort)());
