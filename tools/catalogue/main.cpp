// Prints console/src/logic/catalogue.js: the program's tables of keys and models, for the console and
// site(1). script/build writes the file anew.

#include <cstdio>
#include <span>
#include <string_view>

#include "discovery/catalogue_tables.hpp"
#include "massupdate/rename_table.hpp"

namespace {

constexpr std::size_t longest_line = 108;

// As one text of words, so that the file stays small.
void print_words(const char* name, std::span<const std::string_view> words) {
  std::printf("\nexport const %s = words(`", name);
  std::size_t used = longest_line;
  for (const std::string_view word : words) {
    const bool fits = used + 1 + word.size() <= longest_line;
    used = fits ? used + 1 + word.size() : 2 + word.size();
    std::printf("%s%.*s", fits ? " " : "\n  ", static_cast<int>(word.size()), word.data());
  }
  std::printf("\n`);\n");
}

}  // namespace

int main() {
  std::printf(
      "// The unit's key classes and models, which decide what a mass update sends to whom.\n"
      "// tools/catalogue writes this file from the program's tables; script/build runs it.\n\n"
      "const words = (text) => text.trim().split(/\\s+/);\n");
  print_words("excludedKeys", excluded_keys);
  print_words("statusKeys", status_keys);
  print_words("encoderKeys", encoder_keys);
  print_words("decoderKeys", decoder_keys);
  print_words("extendedKeys", extended_keys);
  print_words("decoderModels", decoder_models);
  print_words("encoderModels", encoder_models);
  print_words("wallplateModels", wallplate_models);
  print_words("secondGenModels", second_gen_models);
  std::printf(
      "\n// Keys that a message carries under another name; matched without regard to case.\n"
      "export const sentAs = new Map([\n");
  for (const rename_row& row : rename_table) {
    std::printf("  ['%s', '%s'],\n", row.record_key.data(), row.sent_as.data());
  }
  std::printf("]);\n");
}
