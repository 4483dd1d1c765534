// cgi-replay: prints the request in a capture file, or runs a CGI program on it.
//
//   cgi-replay FILE                          prints the variables that are set and the form entries
//   cgi-replay FILE PROGRAM [ARGUMENT...]    becomes PROGRAM, with the request as its environment and stdin
//
// Exit status: 1 when the file contains no request or one that cannot be sent again, 2 for wrong arguments,
// 127 when the program cannot be started, otherwise 0 or that of the program. handler.cgi may run on a unit
// or in the box only.

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <random>
#include <string>
#include <string_view>

#include "base/files.hpp"
#include "base/handles.hpp"
#include "cgi/capture_file.hpp"
#include "cgi/form_entry.hpp"
#include "cgi/state.hpp"
#include "cgi/variables.hpp"
#include "live_request.hpp"

namespace {

constexpr int failed = 1;
constexpr int called_wrongly = 2;
constexpr int not_started = 127;

int fail(const std::string& message, int status = failed) {
  std::fprintf(stderr, "cgi-replay: %s\n", message.c_str());
  return status;
}

// The text on one line with everything unprintable escaped, as a capture file may come from anywhere and this
// goes to a terminal.
std::string shown(std::string_view text) {
  constexpr std::string_view digits = "0123456789abcdef";
  std::string line;
  for (const char byte : text) {
    const auto code = static_cast<unsigned char>(byte);
    if (byte == '\\') {
      line += "\\\\";
    } else if (code < ' ' || code >= 127) {
      line.append({'\\', 'x', digits[code / 16U], digits[code % 16U]});
    } else {
      line += byte;
    }
  }
  return line;
}

void print_entry(const cgiFormEntry& entry) {
  const std::string name = shown(entry.name());
  if (entry.fileName()[0] == '\0' && entry.tfileName()[0] == '\0') {
    std::printf("%s=%s\n", name.c_str(), shown(entry.value()).c_str());
    return;
  }
  std::printf("%s: upload of %d bytes%s, file name \"%s\", content type \"%s\"\n", name.c_str(),
              entry.valueLength, entry.tfileName()[0] == '\0' ? " that are not in the file" : "",
              shown(entry.fileName()).c_str(), shown(entry.contentType()).c_str());
}

void print_request() {
  for (const cgiVariable& variable : cgiVariables) {
    const std::string value = shown(*variable.value);
    if (!value.empty()) std::printf("%s=%s\n", variable.name, value.c_str());
  }
  std::printf("CONTENT_LENGTH=%d\n\n", cgiContentLength);
  for (const cgiFormEntry* entry = cgiFormEntryFirst; entry != nullptr; entry = entry->next) {
    print_entry(*entry);
  }
}

// A random boundary, which no content can contain on purpose.
std::string new_boundary() {
  constexpr int words = 4;
  std::random_device random;
  std::string boundary = "cgi-replay";
  for (int word = 0; word < words; ++word) boundary += "-" + std::to_string(random());
  return boundary;
}

// Replaces this process with the program. Returns only when that fails.
int run(char** program) {
  const std::string boundary = new_boundary();
  const unique_file body{std::tmpfile()};
  const std::string problem = body ? write_live_body(body.get(), boundary) : "a body that cannot be written";
  if (!problem.empty()) {
    cgiFreeResources();
    return fail("this request cannot be sent again, it has " + problem);
  }
  set_live_environment(body.get(), boundary);
  cgiFreeResources();
  std::rewind(body.get());
  const int descriptor = fileno(body.get());
  // The program gets the body as its stdin only, not also as another fd.
  if (fcntl(descriptor, F_SETFD, FD_CLOEXEC) < 0 || dup2(descriptor, STDIN_FILENO) < 0) {
    return fail("the body cannot become the standard input");
  }
  execvp(program[0], program);
  std::perror(program[0]);
  return not_started;
}

std::string failure_text(cgiEnvironmentResultType result) {
  switch (result) {
    case cgiEnvironmentWrongVersion:
      return "is no capture file of this version";
    case cgiEnvironmentMemory:
      return "ends inside an entry, or is too large";
    default:
      return "cannot be opened or read completely";
  }
}

}  // namespace

int main(int argc, char** argv) {
  prepare_standard_descriptors();
  if (argc < 2) return fail("usage: cgi-replay FILE [PROGRAM [ARGUMENT...]]", called_wrongly);
  const cgiEnvironmentResultType result = cgiReadEnvironment(argv[1]);
  if (result != cgiEnvironmentSuccess) return fail(std::string{argv[1]} + " " + failure_text(result));
  if (argc > 2) return run(argv + 2);
  print_request();
  cgiFreeResources();
  return 0;
}
