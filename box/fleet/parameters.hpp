// What a unit knows about itself: keys with their values, in the order in which it reports them.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "faults.hpp"

namespace fleet {

struct parameter {
  std::string key;
  std::string value;  // an empty one is not reported
};

using parameters = std::vector<parameter>;

// A unit as it leaves the units file or is made up.
struct unit_description {
  parameters known;
  faults behaviour;
  std::uint32_t lives_at = 0;  // where it really is, when not at its IP.ADDRESS; 0 no such lie
};

// Returns the value of `key`, empty when there is none.
[[nodiscard]] std::string_view value_of(const parameters& known, std::string_view key);

// Replaces the value of `key`, or adds the key at the end.
void set_value(parameters& known, std::string_view key, std::string_view value);

}  // namespace fleet
