// What every fuzz target needs. A target runs in the box and gets one input after the other in one process,
// so it must leave nothing for the next one. It aborts when a rule is broken, as a sanitizer does.

#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "support/files.hpp"

// The target. The fuzzing engine or run_corpus.cpp calls it. Returns 0.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

// The input as a text.
[[nodiscard]] inline std::string_view text_of(const std::uint8_t* data, std::size_t size) {
  return {reinterpret_cast<const char*>(data), size};
}

// Takes the text up to the first such byte off the input, and that byte.
[[nodiscard]] std::string_view take_up_to(std::string_view& input, char end);

// Aborts with the rule's text when it is broken.
void require(bool kept, const char* rule);
