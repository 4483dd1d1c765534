#include "support/answer.hpp"

#include <cstdlib>

#include "cgi/state.hpp"

caught_answer::caught_answer() : before_(cgiOut) {
  cgiOut = open_memstream(&text_, &size_);
}

caught_answer::~caught_answer() {
  std::fclose(cgiOut);
  cgiOut = before_;
  std::free(text_);
}

std::string caught_answer::take() {
  std::fflush(cgiOut);
  std::string written{text_ + taken_, size_ - taken_};
  taken_ = size_;
  return written;
}
