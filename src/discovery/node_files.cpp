#include "discovery/node_files.hpp"

#include <cstdio>

#include "base/files.hpp"
#include "base/shell.hpp"

fixed_text<32> node_path(int number) {
  fixed_text<32> path;
  path.print("/tmp/node_%d", number);
  return path;
}

int append_to_node_file(int number, std::string_view text) {
  const unique_file file = open_for_writing(node_path(number).c_str(), write_mode::append);
  if (!file) return -1;
  std::setvbuf(file.get(), nullptr, _IONBF, 0);
  return static_cast<int>(std::fwrite(text.data(), 1, text.size(), file.get()));
}

void delete_node_files() {
  shell_run("rm /tmp/node_* > /dev/null 2>&1");
}
