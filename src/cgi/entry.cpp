#include "cgi/entry.hpp"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>
#include <string_view>

#include "base/files.hpp"
#include "base/fixed_text.hpp"
#include "base/process.hpp"
#include "base/signals.hpp"
#include "base/text.hpp"
#include "base/trace.hpp"
#include "cgi/form_entry.hpp"
#include "cgi/headers.hpp"
#include "cgi/multipart.hpp"
#include "cgi/state.hpp"
#include "cgi/urlencoded.hpp"
#include "cgi/variables.hpp"

namespace {

constexpr trace_log request_log{"/tmp/dbgCGI.log", command_size};
constexpr std::size_t content_type_size = 1024;
constexpr int undecodable_request = -1;

// The value of an environment variable, empty when it is not set.
const char* variable(const char* name) {
  const char* value = std::getenv(name);
  return value != nullptr ? value : "";
}

// Splits CONTENT_TYPE in place into the type and the boundary:
//
//     multipart/form-data; charset=x; boundary=AbC; q
//     └ cgiContentType   \0         \0         └ cgiMultipartBoundary, "AbC;", up to the next white space
//
// Quotes around the boundary and a ";" directly after it stay part of it. When the body's boundaries lack
// them, the request has no fields.
void capture_content_type() {
  static constinit fixed_text<content_type_size> buffer;
  constexpr std::string_view boundary_name = "boundary=";
  buffer.assign_cut(variable("CONTENT_TYPE"));
  cgiContentType = buffer.c_str();
  char* parameter = buffer.buffer().data();
  while ((parameter = std::strchr(parameter, ';')) != nullptr) {
    *parameter++ = '\0';
    while (is_space(*parameter)) ++parameter;
    if (!equal_no_case(std::string_view{parameter}.substr(0, boundary_name.size()), boundary_name)) continue;
    parameter += boundary_name.size();
    cgiMultipartBoundary = parameter;
    while (*parameter != '\0' && !is_space(*parameter)) ++parameter;
    *parameter = '\0';
    return;
  }
}

void capture_environment() {
  for (const cgiVariable& captured : cgiVariables) *captured.value = variable(captured.name);
  std::fprintf(stderr, "Request Method: %s\n", cgiRequestMethod);
  capture_content_type();
  cgiContentLength = leading_number(variable("CONTENT_LENGTH"));
}

// CONTENT_LENGTH is only a claim. A length for which there is no memory and a body that is shorter are
// failures.
cgiParseResultType decode_urlencoded_body() {
  if (cgiContentLength == 0) return cgiParseSuccess;
  if (cgiContentLength < 0) return cgiParseMemory;
  const auto length = static_cast<std::size_t>(cgiContentLength);
  const cgiText body{new (std::nothrow) char[length]};
  if (!body) return cgiParseMemory;
  if (read_whole(cgiIn, {body.get(), length}) != length) return cgiParseIO;
  return cgiParseFormInput({body.get(), length});
}

cgiParseResultType decode_multipart_body() {
  return cgiContentLength == 0 ? cgiParseSuccess : cgiParsePostMultipartInput();
}

cgiParseResultType decode_query_string() {
  const std::string_view query = cgiQueryString;
  cgiContentLength = static_cast<std::int32_t>(query.size());
  return cgiParseFormInput(query);
}

cgiParseResultType decode_form_data() {
  if (cgiStrEqNc(cgiRequestMethod, "get")) return decode_query_string();
  if (!cgiStrEqNc(cgiRequestMethod, "post")) return cgiParseSuccess;
  if (cgiStrEqNc(cgiContentType, "application/x-www-form-urlencoded")) return decode_urlencoded_body();
  if (cgiStrEqNc(cgiContentType, "multipart/form-data")) return decode_multipart_body();
  return cgiParseSuccess;
}

int refuse_form_data() {
  cgiHeaderStatus(500, "Error reading form data");
  cgiFreeResources();
  return undecodable_request;
}

// Decides whether the link is restarted at the end of the request: yes, unless every field whose name
// contains "CMD" requests a firmware update, or there is no such field. Logs these fields, up to the first
// that decides. The dispatcher is stricter: it takes the field named exactly "CMD".
void scan_commands() {
  for (const cgiFormEntry* entry = cgiFormEntryFirst; entry != nullptr; entry = entry->next) {
    if (std::strstr(entry->name(), "CMD") == nullptr) continue;
    request_log.line("\t%s=%s", entry->name(), entry->value());
    cgiReconnectOnClose = cgiStrEqNc(entry->value(), "UPDATE_FIRMWARE") ? 0 : 1;
    if (cgiReconnectOnClose == 1) return;
  }
}

void trace_request() {
  request_log.replace("cgic main() before cgiOnCalled() %s", cgiQueryString);
  scan_commands();
}

}  // namespace

int cgiServeRequest(const cgiHooks& hooks) {
  prepare_standard_descriptors();
  cgiIn = stdin;
  cgiOut = stdout;
  cgiTemporaryFiles = hooks.temporaryFiles;
  if (hooks.ownsProcess) {
    catch_ending_signals(cgiDeleteTemporaryFiles);
    // A client may send its next request as soon as it sees the end of this answer.
    std::atexit(leave_process_list);
  }
  hooks.onCalled();
  capture_environment();
  if (decode_form_data() != cgiParseSuccess) return refuse_form_data();
  trace_request();
  // The log's readers know the text "_%p_" literally: no pointer is printed.
  request_log.line("\tAbout to Call cgiMain() _%%p_");
  static_cast<void>(hooks.main());
  cgiFreeResources();
  request_log.line("\tAbout to Call cgiOnClose()");
  return hooks.onClose();
}
