// The request of a target of the request layer: as a text that can be compared, and through its accessors.

#pragma once

#include <string>

// Every field and the content of every upload. The request is then released, which must leave no temporary
// file.
[[nodiscard]] std::string take_request();

// Reads the fields through every accessor, with buffers of exactly the sizes told.
void check_accessors();
