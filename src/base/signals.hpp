// Signals. A client that leaves must not stop a command half way or leave the link stopped.

#pragma once

// Catches, for the rest of the process, the signals that would kill it, so that a command that has begun is
// finished:
//   SIGPIPE, SIGHUP      the client has left; nothing changes
//   SIGXFSZ              a write beyond the file size limit fails like a write to a full disk
//   SIGTERM, SIGINT, SIGQUIT, SIGXCPU, SIGALRM, SIGUSR1, SIGUSR2
//                        stdin reads as EOF from now on: a request whose body is still being read fails as a
//                        truncated one and cleans up; one that has been read is not affected
//   SIGABRT              from another process: the same. From this process, as after a failed check of a
//                        library: calls at_our_abort, which must be async-signal-safe, and dies of the signal
// The signals are caught, not ignored, and unblocked, even where the web server ignored or blocked them:
// children start with the default action, so that a tool whose output nobody reads any more is killed.
// SIGCHLD gets its default action back, which waitpid needs to return a command's status.
void catch_ending_signals(void (*at_our_abort)());
