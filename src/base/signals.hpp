// Signals: a web client that leaves must not end a command half way or leave the link stopped.

#pragma once

// Catches SIGPIPE, SIGTERM and SIGHUP for the rest of the process, so that a command that has begun runs to
// its end. They are caught, not ignored, even where our starter ignored or blocked them: children start with
// the default action, so that a tool whose output nobody reads any more ends. SIGXFSZ is caught too: a write
// beyond the limit of file size then fails, as on a full disk. From SIGTERM on standard input is at its end,
// so a request whose body is still being read fails as one that was cut short, and cleans up after itself.
// The end of a child is given its default action back, which shell.hpp needs to learn a command's status.
void catch_ending_signals();
