// Echo: a complete program that uses the request layer. It answers with a page that shows the request, and
// saves the request as /tmp/request.cgic for cgi-replay.
//
//   fields    in their order: name and value; for an upload its file name, content type and size
//   cookies   their names
//
// Installed next to handler.cgi in the unit's web server, it captures a request that causes trouble, so that
// it can be run again elsewhere.

#include "cgi/cgi.hpp"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>

namespace {

constexpr const char* kept_request = "/tmp/request.cgic";

// Writes a row: a label in bold and a text. Both are escaped, so that what a client sends cannot become part
// of the page.
void write_row(const char* label, const char* text) {
  std::fputs("<p><b>", cgiOut);
  cgiHtmlEscape(label);
  std::fputs("</b> ", cgiOut);
  cgiHtmlEscape(text);
  std::fputs("</p>\n", cgiOut);
}

void write_upload(const cgiFormEntry& entry) {
  char size_text[32];
  std::snprintf(size_text, sizeof size_text, "%d bytes", entry.valueLength);
  write_row(entry.name(), entry.fileName());
  write_row("of type", entry.contentType());
  write_row("with", size_text);
}

void write_fields() {
  for (const cgiFormEntry* entry = cgiFormEntryFirst; entry != nullptr; entry = entry->next) {
    if (entry->tfileName()[0] != '\0') {
      write_upload(*entry);
    } else {
      write_row(entry->name(), entry->value());
    }
  }
}

void write_cookies() {
  char** names = nullptr;
  if (cgiCookies(&names) != cgiFormSuccess) return;
  for (char** name = names; *name != nullptr; ++name) write_row("cookie", *name);
  cgiStringArrayFree(names);
}

// A request contains cookies and files, so only the owner may read its capture. mkstemp creates the file with
// mode 0600 and O_EXCL; rename then replaces the capture of the last request.
bool keep_request() {
  char path[] = "/tmp/request.cgicXXXXXX";
  const int descriptor = mkstemp(path);
  if (descriptor < 0) return false;
  close(descriptor);
  if (cgiWriteEnvironment(path) == cgiEnvironmentSuccess && std::rename(path, kept_request) == 0) return true;
  std::remove(path);
  return false;
}

int answer() {
  const bool kept = keep_request();
  cgiHeaderContentType("text/html");
  std::fputs("<!DOCTYPE html>\n<html><head><title>Echo</title></head><body>\n", cgiOut);
  write_row("method", cgiRequestMethod);
  write_row("query", cgiQueryString);
  write_fields();
  write_cookies();
  write_row(kept ? "kept as" : "not kept as", kept_request);
  std::fputs("</body></html>\n", cgiOut);
  return 0;
}

}  // namespace

int main() {
  return cgiServeRequest({.onCalled = [] {}, .main = answer, .onClose = [] { return 0; }});
}
