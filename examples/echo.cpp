// Echo: a whole program of the request layer. It answers a request with a page that shows what arrived, and
// keeps the request as /tmp/request.cgic, for cgi-replay.
//
//   fields    each value of each name; of a name whose first field is an upload, what the client told of that
//             and its size
//   cookies   their names
//
// Beside handler.cgi in the unit's web server it takes a request that makes trouble, to be run again
// elsewhere.

#include "cgi/cgi.hpp"

#include <sys/stat.h>

#include <cerrno>
#include <cstdio>

namespace {

constexpr const char* kept_request = "/tmp/request.cgic";
constexpr mode_t for_its_owner_alone = 077;

// Each row is a text in bold and one behind it, as text: what a client sends must not become part of the
// page.
void write_row(const char* label, const char* text) {
  std::fputs("<p><b>", cgiOut);
  cgiHtmlEscape(label);
  std::fputs("</b> ", cgiOut);
  cgiHtmlEscape(text);
  std::fputs("</p>\n", cgiOut);
}

// Of an upload; false when the field is none.
bool write_upload(const char* name) {
  int size = 0;
  if (cgiFormFileSize(name, &size) != cgiFormSuccess) return false;
  char file_name[256];
  char content_type[256];
  cgiFormFileName(name, file_name, sizeof file_name);
  cgiFormFileContentType(name, content_type, sizeof content_type);
  char size_text[32];
  std::snprintf(size_text, sizeof size_text, "%d bytes", size);
  write_row(name, file_name);
  write_row("of type", content_type);
  write_row("with", size_text);
  return true;
}

void write_values(const char* name) {
  char** values = nullptr;
  if (cgiFormStringMultiple(name, &values) == cgiFormSuccess) {
    for (char** value = values; *value != nullptr; ++value) write_row(name, *value);
  }
  cgiStringArrayFree(values);
}

void write_fields() {
  char** names = nullptr;
  if (cgiFormEntries(&names) != cgiFormSuccess) return;
  for (char** name = names; *name != nullptr; ++name) {
    if (!write_upload(*name)) write_values(*name);
  }
  cgiStringArrayFree(names);
}

void write_cookies() {
  char** names = nullptr;
  if (cgiCookies(&names) != cgiFormSuccess) return;
  for (char** name = names; *name != nullptr; ++name) write_row("cookie", *name);
  cgiStringArrayFree(names);
}

// A request holds cookies and files. A file that is there already may be open to others and is not written.
bool keep_request() {
  umask(for_its_owner_alone);
  if (std::remove(kept_request) != 0 && errno != ENOENT) return false;
  return cgiWriteEnvironment(kept_request) == cgiEnvironmentSuccess;
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
