#include "cgi/variables.hpp"

#include <utility>

namespace {

// The texts of a loaded capture. Null for a variable that points to the environment.
constinit std::array<cgiText, cgiVariables.size()> restored_texts;

}  // namespace

void cgiRestoreVariable(std::size_t index, cgiText text) {
  *cgiVariables[index].value = text.get();
  restored_texts[index] = std::move(text);
}

void cgiReleaseVariables() {
  for (const cgiVariable& variable : cgiVariables) *variable.value = "";
  for (cgiText& text : restored_texts) text.reset();
}
