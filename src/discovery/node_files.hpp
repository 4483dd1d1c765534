// Node files: the answers of one unit in /tmp/node_N, N from 0. A file contains the datagrams taken for the
// unit one after the other, with nothing between them. It exists from collection to compilation; an
// interrupted run leaves it.

#pragma once

#include <array>
#include <cstddef>
#include <string_view>

#include "base/fixed_text.hpp"

// Only this many bytes of a node file are compiled.
inline constexpr std::size_t node_text_size = 2048;
using node_text = std::array<char, node_text_size>;

// Where node files are, and how their names start.
inline constexpr const char* node_folder = "/tmp";
inline constexpr std::string_view node_name_start = "node_";

// The path of a node file.
[[nodiscard]] fixed_text<32> node_path(int number);

// Reads the part of a node file that is compiled into the buffer. Returns its text up to the first zero byte,
// empty when there is no such file.
[[nodiscard]] std::string_view read_node_file(int number, node_text& buffer);

// Appends the text to a node file, creating it when it is missing. Returns the number of bytes written, or -1
// when the file cannot be opened.
[[nodiscard]] int append_to_node_file(int number, std::string_view text);

// Deletes all node files, also those that an interrupted run left.
void delete_node_files();
