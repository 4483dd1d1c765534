// Runs a target once on every file of a folder, so that a fault that fuzzing found stays fixed.

#include <cstdio>
#include <filesystem>

#include "fuzz.hpp"

int main(int argc, char** argv) {
  require(argc == 2, "one folder is given");
  int inputs = 0;
  for (const auto& file : std::filesystem::directory_iterator{argv[1]}) {
    std::printf("%s\n", file.path().filename().c_str());
    std::fflush(stdout);
    const std::string input = read_file(file.path());
    LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(input.data()), input.size());
    ++inputs;
  }
  require(inputs > 0, "the corpus is there");
  return 0;
}
