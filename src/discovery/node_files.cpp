#include "discovery/node_files.hpp"

#include <cstdio>

#include "base/files.hpp"
#include "base/shell.hpp"
#include "base/text.hpp"

fixed_text<32> node_path(int number) {
  fixed_text<32> path;
  path.print("/tmp/node_%d", number);
  return path;
}

std::string_view read_node_file(int number, node_text& buffer) {
  const unique_file file = open_for_reading(node_path(number).c_str());
  const std::size_t length = file ? std::fread(buffer.data(), 1, buffer.size(), file.get()) : 0;
  return text_before_zero({buffer.data(), length});
}

int append_to_node_file(int number, std::string_view text) {
  direct_file file{node_path(number).c_str(), write_mode::append};
  return file ? static_cast<int>(file.write(text)) : -1;
}

void delete_node_files() {
  shell_run("rm /tmp/node_* > /dev/null 2>&1");
}
