// A unit's parameters: keys and values in the order in which it reports them.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "faults.hpp"

namespace fleet {

// One key with its value.
struct parameter {
  std::string key;
  std::string value;  // an empty value is not reported
};

using parameters = std::vector<parameter>;

// A unit as the units file or its number describes it.
struct unit_description {
  parameters known;
  faults behaviour;
  std::uint32_t lives_at = 0;  // its real address when IP.ADDRESS is wrong; 0 when it is right
};

// Returns the value of the key, empty when there is none.
[[nodiscard]] std::string_view value_of(const parameters& known, std::string_view key);

// Replaces the value of the key, or appends the key.
void set_value(parameters& known, std::string_view key, std::string_view value);

}  // namespace fleet
