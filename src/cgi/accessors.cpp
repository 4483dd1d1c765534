#include "cgi/accessors.hpp"

#include <algorithm>
#include <cstddef>

namespace {

// Writes a text into a buffer of `max` bytes and remembers whether all of it fitted.
class limited_text {
 public:
  limited_text(char* buffer, int max) : next_(buffer), room_(max > 0 ? max - 1 : 0), writable_(max > 0) {}

  // Returns false when the byte did not fit.
  bool add(char byte) {
    if (room_ == 0) return false;
    *next_++ = byte;
    --room_;
    empty_ = false;
    return true;
  }
  void terminate() {
    if (writable_) *next_ = '\0';
  }
  [[nodiscard]] bool empty() const { return empty_; }

 private:
  char* next_;
  int room_;
  bool writable_;
  bool empty_ = true;
};

// Moves past a run of carriage returns and line feeds. Returns the larger of their two counts.
std::ptrdiff_t skip_line_ends(const char*& text) {
  std::ptrdiff_t carriage_returns = 0;
  std::ptrdiff_t line_feeds = 0;
  for (; *text == '\r' || *text == '\n'; ++text) ++(*text == '\r' ? carriage_returns : line_feeds);
  return std::max(carriage_returns, line_feeds);
}

// Returns false when the value did not fit.
bool copy_with_line_feeds(const char* value, limited_text& copy) {
  while (*value != '\0') {
    for (std::ptrdiff_t line_feeds = skip_line_ends(value); line_feeds > 0; --line_feeds) {
      if (!copy.add('\n')) return false;
    }
    if (*value != '\0' && !copy.add(*value++)) return false;
  }
  return true;
}

}  // namespace

cgiFormResultType cgiFormString(const char* name, char* result, int max) {
  limited_text copy{result, max};
  const cgiFormEntry* entry = cgiFindFirstEntry(name);
  const bool whole = entry == nullptr || copy_with_line_feeds(entry->value.get(), copy);
  copy.terminate();
  if (entry == nullptr) return cgiFormNotFound;
  if (!whole) return cgiFormTruncated;
  return copy.empty() ? cgiFormEmpty : cgiFormSuccess;
}

void cgiStringArrayFree(char** array) {
  if (array == nullptr) return;
  for (char** text = array; *text != nullptr; ++text) delete[] * text;
  delete[] array;
}
