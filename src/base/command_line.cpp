#include "base/command_line.hpp"

#include <fcntl.h>

#include <cstring>

namespace {

// Characters that mean themselves to a shell, so that a word of them is the same with and without one.
constexpr const char* word_characters =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789/._-+,:@%=";

char* skip_blanks(char* text) {
  return text + std::strspn(text, " ");
}

// Terminates the word that starts at `begin`, in place. Returns the text after it, or null when no word
// starts there or the word contains another character.
char* end_word(char* begin) {
  char* end = begin + std::strspn(begin, word_characters);
  if (end == begin || (*end != '\0' && *end != ' ')) return nullptr;
  if (*end == ' ') *end++ = '\0';
  return end;
}

}  // namespace

plain_command::plain_command(std::string_view line) {
  if (!text_.assign_if_fits(line)) return;
  char* rest = skip_blanks(text_.buffer().data());
  while (rest != nullptr && *rest != '\0') {
    rest = take_part(rest);
    if (rest != nullptr) rest = skip_blanks(rest);
  }
  // A "=" in the first word makes it an assignment, which only a shell can do.
  plain_ = rest != nullptr && word_count_ > 0 && std::strchr(words_[0], '=') == nullptr;
}

char* plain_command::take_part(char* rest) {
  if (in_background_) return nullptr;  // the "&" was not the last character
  in_background_ = *rest == '&';
  if (in_background_) return rest + 1;
  // "1>" and "2>" redirect that fd. A "1" or "2" before anything else is an ordinary word.
  const bool numbered = (*rest == '1' || *rest == '2') && rest[1] == '>';
  return numbered || *rest == '>' ? take_redirection(rest) : add_word(rest);
}

// Parses one of these forms; blanks are allowed in front of the path:
//
//     > path    >> path        stdout into a file, emptied or appended to; also with 1 or 2 in front
//     >&1       2>&1    1>&2   a copy of another fd
char* plain_command::take_redirection(char* rest) {
  if (redirection_count_ == most_redirections) return nullptr;
  redirection& added = redirections_[redirection_count_++];
  added.descriptor = *rest == '2' ? 2 : 1;
  rest += *rest == '>' ? 1 : 2;
  if (*rest == '&') {
    if (rest[1] != '1' && rest[1] != '2') return nullptr;
    added.source = rest[1] - '0';
    return rest[2] == '\0' || rest[2] == ' ' ? rest + 2 : nullptr;
  }
  const bool append = *rest == '>';
  if (append) ++rest;
  added.source = -1;
  added.flags = O_WRONLY | O_CREAT | (append ? O_APPEND : O_TRUNC);
  char* path = skip_blanks(rest);
  added.path = path;
  return end_word(path);
}

char* plain_command::add_word(char* rest) {
  if (word_count_ == most_words) return nullptr;
  words_[word_count_++] = rest;
  return end_word(rest);
}
