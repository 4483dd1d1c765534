// Catches what a library writes to cgiOut, for tests that call it in their own process.

#pragma once

#include <cstdio>
#include <string>

class caught_answer {
 public:
  caught_answer();
  caught_answer(const caught_answer&) = delete;
  caught_answer& operator=(const caught_answer&) = delete;
  ~caught_answer();

  // What was written since the last call.
  std::string take();

 private:
  std::FILE* before_;
  char* text_ = nullptr;
  std::size_t size_ = 0;
  std::size_t taken_ = 0;
};
