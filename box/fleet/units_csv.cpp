#include "units_csv.hpp"

#include <algorithm>
#include <cstddef>

#include "address.hpp"

namespace fleet {

namespace {

constexpr std::string_view fault_prefix = "SIM.";

// Takes the rest of a quoted cell off the line, after its opening quote and up to the comma.
std::string take_quoted(std::string_view& line) {
  std::string cell;
  while (!line.empty()) {
    const bool quote = line.front() == '"';
    if (quote && (line.size() == 1 || line[1] == ',')) break;
    if (quote && line[1] == '"') line.remove_prefix(1);
    cell += line.front();
    line.remove_prefix(1);
  }
  line.remove_prefix(std::min<std::size_t>(1, line.size()));
  return cell;
}

std::string take_cell(std::string_view& line) {
  if (line.starts_with('"')) {
    line.remove_prefix(1);
    return take_quoted(line);
  }
  const std::string_view cell = line.substr(0, line.find(','));
  line.remove_prefix(cell.size());
  return std::string{cell};
}

csv_row read_row(std::string_view line) {
  csv_row row{take_cell(line)};
  while (!line.empty()) {
    line.remove_prefix(1);  // the comma
    row.push_back(take_cell(line));
  }
  return row;
}

// Appends a quoted cell to the line.
void append_cell(std::string& line, std::string_view text) {
  if (!line.empty()) line += ',';
  line += '"';
  for (const char letter : text) {
    if (letter == '"') line += '"';
    if (letter != '\n' && letter != '\r') line += letter;
  }
  line += '"';
}

// The fault of a column: "delay-ms" for "SIM.DELAY_MS".
std::string fault_name(std::string_view column) {
  std::string name{column.substr(fault_prefix.size())};
  for (char& letter : name) {
    if (letter >= 'A' && letter <= 'Z') letter = static_cast<char>(letter - 'A' + 'a');
    if (letter == '_') letter = '-';
  }
  return name;
}

bool take_fault(unit_description& unit, std::string_view column, std::string_view value) {
  const std::string name = fault_name(column);
  if (name != "address") return set_fault(unit.behaviour, name, value);
  unit.lives_at = read_address(value).value_or(0);
  return unit.lives_at != 0;
}

// Returns the unit of a row. Adds a cell that does not fit to `problem`.
unit_description describe_unit(const csv_row& header, const csv_row& row, const faults& every_unit,
                               std::string& problem) {
  unit_description unit{{}, every_unit, 0};
  for (std::size_t column = 0; column < std::min(header.size(), row.size()); ++column) {
    const std::string& key = header[column];
    const std::string& value = row[column];
    if (!key.starts_with(fault_prefix)) {
      if (!key.empty()) unit.known.push_back({key, value});
    } else if (!value.empty() && !take_fault(unit, key, value)) {
      problem.append("column ").append(key).append(" cannot be \"").append(value).append("\"");
    }
  }
  return unit;
}

}  // namespace

std::vector<csv_row> read_csv(std::string_view text) {
  std::vector<csv_row> rows;
  while (!text.empty()) {
    std::string_view line = text.substr(0, text.find('\n'));
    text.remove_prefix(std::min(text.size(), line.size() + 1));
    if (line.ends_with('\r')) line.remove_suffix(1);
    if (!line.empty()) rows.push_back(read_row(line));
  }
  return rows;
}

std::vector<unit_description> describe_units(std::string_view text, const faults& every_unit,
                                             std::string& problem) {
  std::vector<unit_description> units;
  const std::vector<csv_row> rows = read_csv(text);
  for (std::size_t row = 1; row < rows.size() && problem.empty(); ++row) {
    if (std::ranges::all_of(rows[row], &std::string::empty)) continue;
    units.push_back(describe_unit(rows[0], rows[row], every_unit, problem));
  }
  return units;
}

std::string units_text(const parameters& known) {
  std::string header, row;
  for (const auto& [key, value] : known) {
    append_cell(header, key);
    append_cell(row, value);
  }
  return header + "\n" + row + "\n";
}

}  // namespace fleet
