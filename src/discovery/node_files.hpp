// Node files: the answers of one unit, /tmp/node_N with N from 0. A file contains the datagrams taken for the
// unit one after the other, with nothing between them. They exist from collection to compilation.

#pragma once

#include <array>
#include <cstddef>
#include <string_view>

#include "base/fixed_text.hpp"

// How much of a node file is compiled, in bytes.
inline constexpr std::size_t node_text_size = 2048;
using node_text = std::array<char, node_text_size>;

inline constexpr const char* node_folder = "/tmp";
inline constexpr std::string_view node_name_start = "node_";

[[nodiscard]] fixed_text<32> node_path(int number);

// Reads the part of a node file that is compiled into the buffer. Returns its text, which a zero byte ends; empty
// when there is no such file.
[[nodiscard]] std::string_view read_node_file(int number, node_text& buffer);

// Appends the text to the unit's node file, creating it when needed. Returns the number of bytes that
// reached the file, or -1 when it cannot be opened.
[[nodiscard]] int append_to_node_file(int number, std::string_view text);

// Deletes every node file, those of earlier, interrupted runs included.
void delete_node_files();
