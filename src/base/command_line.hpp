// Command lines that need no shell: words and redirections, started as a shell would start them.
//
//     tool word word > /dev/null 2>&1 &
//     │               │          │    └ in the background
//     └ words         └ output   └ standard error to where standard output goes by then
//
// A word has letters, digits and a few marks. Whatever else means something to a shell (quotes, globs, variables, ";",
// "|", input from a file, an assignment) makes the line one for the shell.

#pragma once

#include <array>
#include <span>
#include <string_view>

#include "base/fixed_text.hpp"

class plain_command {
 public:
  // A descriptor of the command, 1 or 2, and what it becomes: another descriptor, or a file.
  struct redirection {
    int descriptor;
    int source;        // the other descriptor; -1 for a file
    const char* path;  // null for a descriptor
    int flags;         // of the open
  };

  explicit plain_command(std::string_view line);
  plain_command(const plain_command&) = delete;
  plain_command& operator=(const plain_command&) = delete;

  // False when the line needs a shell; the rest is then of no use.
  [[nodiscard]] explicit operator bool() const { return plain_; }

  // The program's name and its arguments; a null pointer ends them.
  [[nodiscard]] char* const* words() const { return words_.data(); }
  // In the order of the line.
  [[nodiscard]] std::span<const redirection> redirections() const {
    return std::span{redirections_}.first(redirection_count_);
  }
  [[nodiscard]] bool in_background() const { return in_background_; }

 private:
  static constexpr std::size_t most_words = 16;
  static constexpr std::size_t most_redirections = 3;

  // Each takes what begins there and returns what follows, or null when only a shell understands it.
  char* take_part(char* rest);
  char* take_redirection(char* rest);
  char* add_word(char* rest);

  fixed_text<256> text_;
  std::array<char*, most_words + 1> words_{};
  std::size_t word_count_ = 0;
  std::array<redirection, most_redirections> redirections_{};
  std::size_t redirection_count_ = 0;
  bool in_background_ = false;
  bool plain_ = false;
};
