#include "handler/admission_guard.hpp"

#include <cstdio>
#include <cstdlib>
#include <string_view>

#include "base/files.hpp"
#include "base/fixed_text.hpp"
#include "base/shell.hpp"
#include "base/unit.hpp"
#include "cgi/state.hpp"

namespace {

// The web page recognises a refusal by this page's meta element. It relies on the exact bytes: the comma
// after the type and the bare line feeds of the header stay.
constexpr const char* cgiErrorPageFormat =
    "Content-type: text/html,\n\n"
    "<HTML><HEAD><meta name=\"ERROR_RORRE\" content=\"none\"></HEAD>"
    "<BODY BGCOLOR=#FFFFFF TEXT=#000000 LINK=#000000 VLINK=#800080>\n"
    "<Center>\n"
    "%s</Center></BODY></HTML>";
constexpr const char* busy_message =
    "&HANDLER=ERROR handler.cgi only supports one concurrent request, try again.\n";
constexpr const char* updating_message = "&HANDLER=ERROR Firmware Update In Progress, try again later.\n";

// What the process list says: no other request, some other request, or nothing because not even a shell could
// be started to ask.
enum class other_requests { none, some, unknown };

// Looks for other handler processes. pidof prints this process too, so one id means none but us. An empty
// list is wrong and counts as "some", which refuses; so does a missing pidof. Only when not even a shell can
// be started is the request admitted.
other_requests find_other_requests() {
  fixed_text<32> processes;
  switch (shell_first_line("pidof handler.cgi", processes)) {
    case first_line::not_started:
      return other_requests::unknown;
    case first_line::none:
      return other_requests::some;
    case first_line::read:
      break;
  }
  return processes.view().find(' ') != std::string_view::npos ? other_requests::some : other_requests::none;
}

// True while the update script runs.
bool firmware_update_runs() {
  fixed_text<32> processes;
  return shell_first_line("pidof update_fw.sh", processes) == first_line::read;
}

// Prints the error page and exits. cgiOnClose does not run: a refused request has not stopped the link.
[[noreturn]] void refuse(const char* message) {
  std::printf(cgiErrorPageFormat, message);
  std::exit(EXIT_SUCCESS);
}

}  // namespace

void cgiOnCalled() {
  const other_requests others = find_other_requests();
  if (others == other_requests::some) refuse(busy_message);
  if (firmware_update_runs()) refuse(updating_message);
  // No other request runs, so files with our pattern are left over from killed ones. They fill the unit's
  // RAM.
  if (others == other_requests::none) delete_temporary_files(unit::upload_files);
  shell_run(unit::stop_link);
}

int cgiOnClose() {
  if (cgiReconnectOnClose > 0) shell_run("ast_send_event -1 e_reconnect");
  return 0;
}
