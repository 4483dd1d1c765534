#include "parameters.hpp"

#include <algorithm>

namespace fleet {

std::string_view value_of(const parameters& known, std::string_view key) {
  const auto found = std::ranges::find(known, key, &parameter::key);
  return found == known.end() ? std::string_view{} : found->value;
}

void set_value(parameters& known, std::string_view key, std::string_view value) {
  const auto found = std::ranges::find(known, key, &parameter::key);
  if (found == known.end()) {
    known.push_back({std::string{key}, std::string{value}});
  } else {
    found->value = value;
  }
}

}  // namespace fleet
