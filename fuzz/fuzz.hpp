// What every fuzz target needs. A target is called with one input after the other in one process, inside the
// box, and leaves nothing behind for the next one. A rule that it finds broken ends it, as a sanitizer's
// finding does.

#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "support/files.hpp"

// The target; the engine and run_corpus.cpp call it. Returns 0.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

[[nodiscard]] inline std::string_view text_of(const std::uint8_t* data, std::size_t size) {
  return {reinterpret_cast<const char*>(data), size};
}

// Takes the text up to the first such byte, and that byte, off the input.
[[nodiscard]] std::string_view take_up_to(std::string_view& input, char end);

// Ends the process with the rule's text unless it holds.
void require(bool holds, const char* rule);
