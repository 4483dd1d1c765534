// Request entry: takes one CGI request from the web server's call to the exit status.
//   reads    the CGI variables of the environment, and the body from standard input
//   writes   the answer to standard output, one line to standard error, trace lines to /tmp/dbgCGI.log

#pragma once

// What the application hands to the request layer.
struct cgiHooks {
  void (*onCalled)();  // before anything of the request is read; may answer on cgiOut and end the process
  int (*main)();       // answers the request; its result is ignored
  int (*onClose)();    // after everything of the request is released; its result becomes the exit status

  // The pattern of the paths of temporary files, ending in six X. Programs that share a folder choose different ones,
  // so that each can tell what a killed request of its own left behind.
  const char* temporaryFiles = "/dev/shm/cgi-uploadXXXXXX";

  // Whether the process is there for this request alone. Then signals that web servers send do not end it half way
  // (signals.hpp), and at its end it leaves the list of processes by its name a moment early (process.hpp). When
  // false, signals, their mask and the name stay as they were.
  bool ownsProcess = true;
};

// Serves the request. Returns the process's exit status: what onClose returned, or -1 when the form data
// could not be decoded; the answer is then a status 500 line, and neither main nor onClose has run.
[[nodiscard]] int cgiServeRequest(const cgiHooks& hooks);
