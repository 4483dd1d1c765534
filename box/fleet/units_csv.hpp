// The units file: a discovery export, one row a unit, one column a key, lines ended by CR LF or LF.
//   quotes   a cell that begins with a double quote ends at the next one before a comma or the line end;
//            two in a row inside it are one. Exports do not double them: a lone one is taken as it stands.
//   SIM.*    faults of the unit (SIM.SILENT_AT) or its real address (SIM.ADDRESS), not parameters
//   blanks   a blank cell is a parameter that the unit does not report; a row of them is no unit
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "parameters.hpp"

namespace fleet {

using csv_row = std::vector<std::string>;

// Returns the rows of `text`, header included; empty lines are left out.
[[nodiscard]] std::vector<csv_row> read_csv(std::string_view text);

// Returns the units of a file's text, starting each from `every_unit`'s faults. `problem` stays as it is
// unless a SIM column is unknown or holds an unfit value: it then says which, and units are missing.
[[nodiscard]] std::vector<unit_description> describe_units(std::string_view text, const faults& every_unit,
                                                           std::string& problem);

// Returns the text of a units file for one unit. Line ends inside a value are left out.
[[nodiscard]] std::string units_text(const parameters& known);

}  // namespace fleet
