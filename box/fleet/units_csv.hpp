// The units file: a discovery export with one row a unit and one column a key. Lines end in CR LF or LF.
//   quotes   a cell that starts with a double quote ends at the next one in front of a comma or the line end;
//            two in a row inside it are one; a single one is taken literally, as exports do not double them
//   SIM.*    a fault of the unit (SIM.SILENT_AT) or its real address (SIM.ADDRESS), not a parameter
//   blanks   an empty cell is a parameter that the unit does not report; a row of empty cells is not a unit
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "parameters.hpp"

namespace fleet {

using csv_row = std::vector<std::string>;

// Returns the rows of the text, with the header. Empty lines are left out.
[[nodiscard]] std::vector<csv_row> read_csv(std::string_view text);

// Returns the units of a file's text, each with the faults of every_unit to begin with. When a SIM column is
// unknown or a value does not fit, `problem` says which, and units are missing; otherwise it stays unchanged.
[[nodiscard]] std::vector<unit_description> describe_units(std::string_view text, const faults& every_unit,
                                                           std::string& problem);

// Returns the text of a units file for one unit. Line ends inside a value are dropped.
[[nodiscard]] std::string units_text(const parameters& known);

}  // namespace fleet
