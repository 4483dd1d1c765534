#include "base/unit.hpp"
#include "cgi/entry.hpp"
#include "handler/admission_guard.hpp"
#include "handler/command_dispatcher.hpp"

// The program: the request layer with this program's three hooks.
int main() {
  return cgiServeRequest({.onCalled = cgiOnCalled,
                          .main = cgiMain,
                          .onClose = cgiOnClose,
                          .temporaryFiles = unit::upload_files});
}
