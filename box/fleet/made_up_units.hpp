// Units made up from their number alone, so that every run has the same fleet.
//   number 1    this unit itself: KU000001, UNIT-001, KestT-2, 10.77.0.1
//   2 and up    KU000002, UNIT-002, 10.77.1.1 and so on; even numbers are encoders, odd ones decoders
#pragma once

#include <string_view>

#include "parameters.hpp"

namespace fleet {

inline constexpr unsigned most_made_up_units = 60'000;  // within 10.77.1.1 to 10.77.254.254

// Returns the unit of that number, with these faults.
[[nodiscard]] unit_description make_up_unit(unsigned number, const faults& every_unit);

// True when `model` is an encoder of the product range, without regard to case.
[[nodiscard]] bool is_encoder(std::string_view model);

}  // namespace fleet
