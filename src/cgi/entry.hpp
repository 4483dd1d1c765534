// Request entry: takes one CGI request from the web server's call to the exit status.
//   reads    the CGI variables of the environment, and the body from standard input
//   writes   the answer to standard output, one line to standard error, trace lines to /tmp/dbgCGI.log

#pragma once

#include "cgi/state.hpp"

// What the application hands to the request layer.
struct cgiHooks {
  void (*onCalled)();  // before anything of the request is read; may answer on cgiOut and end the process
  int (*main)();       // answers the request; its result is ignored
  int (*onClose)();    // after everything of the request is released; its result becomes the exit status

  // The pattern of the paths of temporary files, ending in six X. Each program needs its own, so that it can recognise
  // and delete the files of its killed requests.
  const char* temporaryFiles = cgiUsualTemporaryFiles;

  // True: the process serves this request only. Its signals are caught (signals.hpp), and it is renamed before it
  // exits (process.hpp). False: signal handlers, signal mask and process name are left alone.
  bool ownsProcess = true;
};

// Serves the request. Returns the process's exit status: what onClose returned, or -1 when the form data
// could not be decoded; the answer is then a status 500 line, and neither main nor onClose has run.
[[nodiscard]] int cgiServeRequest(const cgiHooks& hooks);
