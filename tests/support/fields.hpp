// The form entry list as a value, for tests that call the request layer in their own process.

#pragma once

#include <ostream>
#include <string>
#include <vector>

struct field {
  std::string name;
  std::string value;  // of an upload, the content of its temporary file
  std::string file_name = "";
  std::string type = "";
  bool operator==(const field&) const = default;
};

std::ostream& operator<<(std::ostream& out, const field& shown);

// The fields of the request, which is then released: that must leave no temporary file. Each such file must
// be readable for its owner alone and as long as its entry says.
std::vector<field> take_fields();

// Appends a field to the request; one with a file name is an upload.
void append_field(const field& added);
