// Request entry: serves one CGI request, from the start of the process to its exit status.
//   reads    the CGI variables of the environment, and the body from stdin
//   writes   the answer to stdout, one line to stderr, log lines to /tmp/dbgCGI.log

#pragma once

#include "cgi/state.hpp"

// What the application passes to the request layer. None of the three procedures may be null.
struct cgiHooks {
  void (*onCalled)();  // before the request is read; may write an answer and exit
  int (*main)();       // answers the request; its result is ignored
  int (*onClose)();    // after the request is released; its result is the exit status

  // The pattern for the paths of temporary files, which ends in six X. Each program needs its own, so that it
  // can recognise and delete the files of its killed requests.
  const char* temporaryFiles = cgiUsualTemporaryFiles;

  // True: the process serves this request only. Its signals are caught (signals.hpp), and it is renamed
  // before it exits (process.hpp). False: signal handlers, signal mask and process name are left alone.
  bool ownsProcess = true;
};

// Serves the request. Returns the exit status for main: what onClose returned, or -1 when the form data could
// not be decoded. In that case the answer is a status 500 line, and neither main nor onClose has run.
[[nodiscard]] int cgiServeRequest(const cgiHooks& hooks);
