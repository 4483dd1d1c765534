// Parses the command lines that can be started without a shell, with the same words and redirections that a
// shell would use.
//
//     tool word word > /dev/null 2>&1 &
//     │               │          │    └ runs in the background
//     └ words         └ stdout   └ stderr goes where stdout goes at this point
//
// A word consists of letters, digits and the characters / . _ - + , : @ % =. Everything else that a shell
// interprets (quotes, globs, variables, ";", "|", input redirection, an assignment in front) makes the line
// one for the shell. So does a line over 255 bytes, 16 words or 3 redirections.

#pragma once

#include <array>
#include <span>
#include <string_view>

#include "base/fixed_text.hpp"

class plain_command {
 public:
  // What fd 1 or 2 of the command becomes: a copy of another fd, or an opened file.
  struct redirection {
    int descriptor;
    int source;        // the fd to copy, 1 or 2; -1 for a file
    const char* path;  // null for a copied fd
    int flags;         // for open()
  };

  // Parses the line. The object keeps its own copy of the text.
  explicit plain_command(std::string_view line);
  plain_command(const plain_command&) = delete;
  plain_command& operator=(const plain_command&) = delete;

  // False when the line needs a shell. The other members are then meaningless.
  [[nodiscard]] explicit operator bool() const { return plain_; }

  // The program's name and its arguments, ended by a null pointer: argv as exec takes it.
  [[nodiscard]] char* const* words() const { return words_.data(); }
  // The redirections from left to right, which is the order in which they must be applied.
  [[nodiscard]] std::span<const redirection> redirections() const {
    return std::span{redirections_}.first(redirection_count_);
  }
  [[nodiscard]] bool in_background() const { return in_background_; }

 private:
  static constexpr std::size_t most_words = 16;
  static constexpr std::size_t most_redirections = 3;

  // Each parses one item at `rest` and returns the text after it, or null when only a shell understands it.
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
