#include "handler/admission_guard.hpp"

#include <cstdio>
#include <cstdlib>
#include <string_view>

#include "base/fixed_text.hpp"
#include "base/shell.hpp"
#include "base/unit.hpp"
#include "cgi/state.hpp"

namespace {

// The web page knows a refusal by this page's meta element. The comma after the type and the bare line feeds of the
// header belong to the page as it is known.
constexpr const char* cgiErrorPageFormat =
    "Content-type: text/html,\n\n"
    "<HTML><HEAD><meta name=\"ERROR_RORRE\" content=\"none\"></HEAD>"
    "<BODY BGCOLOR=#FFFFFF TEXT=#000000 LINK=#000000 VLINK=#800080>\n"
    "<Center>\n"
    "%s</Center></BODY></HTML>";
constexpr const char* busy_message =
    "&HANDLER=ERROR handler.cgi only supports one concurrent request, try again.\n";
constexpr const char* updating_message = "&HANDLER=ERROR Firmware Update In Progress, try again later.\n";

// True when the list of handler processes holds another one besides this, and also when it does not even hold
// this one: then it cannot be trusted.
bool another_request_runs() {
  fixed_text<32> processes;
  switch (shell_first_line("pidof handler.cgi", processes)) {
    case first_line::not_started:
      return false;
    case first_line::none:
      return true;
    case first_line::read:
      break;
  }
  return processes.view().find(' ') != std::string_view::npos;
}

bool firmware_update_runs() {
  fixed_text<32> processes;
  return shell_first_line("pidof update_fw.sh", processes) == first_line::read;
}

[[noreturn]] void refuse(const char* message) {
  std::printf(cgiErrorPageFormat, message);
  std::exit(EXIT_SUCCESS);
}

}  // namespace

void cgiOnCalled() {
  if (another_request_runs()) refuse(busy_message);
  if (firmware_update_runs()) refuse(updating_message);
  shell_run(unit::stop_link);
}

int cgiOnClose() {
  if (cgiReconnectOnClose > 0) shell_run("ast_send_event -1 e_reconnect");
  return 0;
}
