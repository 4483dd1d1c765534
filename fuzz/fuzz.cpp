#include "fuzz.hpp"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

std::string_view take_up_to(std::string_view& input, char end) {
  const std::string_view taken = input.substr(0, input.find(end));
  input.remove_prefix(std::min(taken.size() + 1, input.size()));
  return taken;
}

void require(bool kept, const char* rule) {
  if (kept) return;
  std::fprintf(stderr, "broken rule: %s\n", rule);
  std::abort();
}
