// Files of the box, for tests: whole contents in and out, and the unit's tools.

#pragma once

#include <string>
#include <vector>

using lines = std::vector<std::string>;

// The whole content; "(missing)" when the file cannot be opened.
std::string read_file(const std::string& path);
void write_file(const std::string& path, const std::string& content);

// The names in a folder, sorted, without one that this checkout lies below.
lines list_folder(const std::string& path);

// Puts a shell script in the place of one of the unit's tools. Without the #! line.
void plant_tool(const std::string& name, const std::string& script);

// The calls of the unit's tools so far, name and arguments, in order.
lines tool_calls();
