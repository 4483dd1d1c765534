// Units made up from their number alone, so that every run has the same fleet.
//   number 1    this unit itself: KU000001, UNIT-001, KestT-2, 10.77.0.1
//   from 2 on   KU000002, UNIT-002, 10.77.1.1 and upward; even numbers encode, odd ones decode
#pragma once

#include <string_view>

#include "parameters.hpp"

namespace fleet {

inline constexpr unsigned most_made_up_units = 60'000;  // 10.77.1.1 to 10.77.254.254 hold some more

[[nodiscard]] unit_description make_up_unit(unsigned number, const faults& every_unit);

// True when `model` is an encoder of the product range. The case of letters does not count.
[[nodiscard]] bool is_encoder(std::string_view model);

}  // namespace fleet
