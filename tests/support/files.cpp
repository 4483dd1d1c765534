#include "support/files.hpp"

#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>

std::string read_file(const std::string& path) {
  std::ifstream file{path, std::ios::binary};
  if (!file) return "(missing)";
  return {std::istreambuf_iterator<char>{file}, {}};
}

void write_file(const std::string& path, const std::string& content) {
  std::ofstream{path, std::ios::binary | std::ios::trunc} << content;
}

lines list_folder(const std::string& path) {
  const std::string project = std::filesystem::current_path().string() + "/";
  lines names;
  for (const auto& entry : std::filesystem::directory_iterator{path}) {
    if (!project.starts_with(entry.path().string() + "/")) names.push_back(entry.path().filename());
  }
  std::ranges::sort(names);
  return names;
}

void plant_tool(const std::string& name, const std::string& script) {
  const std::string path = "/usr/local/bin/" + name;
  std::filesystem::remove(path);
  write_file(path, "#!/bin/sh\n" + script + "\n");
  chmod(path.c_str(), 0755);
}

lines tool_calls() {
  lines calls;
  std::ifstream log{"/var/log/tools.log"};
  for (std::string line; std::getline(log, line);) calls.push_back(line);
  return calls;
}
