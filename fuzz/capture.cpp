// Capture files: the input is a capture file. What it loads to is saved and loaded again, which must give the
// same.

#include "cgi/capture_file.hpp"

#include "cgi/form_entry.hpp"
#include "cgi/state.hpp"
#include "fuzz.hpp"
#include "request.hpp"

namespace {

constexpr const char* input_file = "/tmp/input.cgic";
constexpr const char* saved_file = "/tmp/saved.cgic";

// Saves the current request. Returns the file's content.
std::string saved() {
  require(cgiWriteEnvironment(saved_file) == cgiEnvironmentSuccess, "a request can be saved");
  return read_file(saved_file);
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  write_file(input_file, std::string{text_of(data, size)});
  if (cgiReadEnvironment(input_file) == cgiEnvironmentSuccess) {
    check_accessors();
    const std::string first = saved();
    require(cgiReadEnvironment(saved_file) == cgiEnvironmentSuccess, "what was saved can be loaded");
    require(saved() == first, "what was saved is loaded as it was");
  } else {
    require(cgiFormEntryFirst == nullptr && cgiRestored == 0, "a failed load leaves no field");
  }
  static_cast<void>(take_request());
  return 0;
}
