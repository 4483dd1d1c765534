#include "base/trace.hpp"

#include <algorithm>
#include <array>
#include <cstdio>
#include <new>

namespace {

// The longest text whose command  echo "TEXT" >> PATH  fits the buffer with its terminating zero byte.
std::size_t text_limit(std::string_view path, std::size_t buffer_size, std::string_view redirection) {
  constexpr std::string_view opening = "echo \"";
  const std::size_t around = opening.size() + redirection.size() + path.size() + 1;
  return buffer_size > around ? buffer_size - around : 0;
}

// A formatted line with its line feed, as echo would print it. Both limits cut it: vsnprintf the text itself
// at the buffer's size, `limit` the text at what the command leaves for it.
class trace_line {
 public:
  [[gnu::format(printf, 2, 0)]] trace_line(const char* format, std::va_list arguments,
                                           std::size_t buffer_size, std::size_t limit) {
    const int wanted = std::vsnprintf(text_.data(), std::min(buffer_size, text_.size()), format, arguments);
    length_ = std::min(static_cast<std::size_t>(std::max(wanted, 0)), limit);
    text_[length_++] = '\n';
  }

  [[nodiscard]] std::string_view text() const { return {text_.data(), length_}; }

 private:
  std::array<char, longest_command_size> text_;
  std::size_t length_;
};

}  // namespace

void trace_log::line(const char* format, ...) const {
  std::va_list arguments;
  va_start(arguments, format);
  const trace_line line{format, arguments, buffer_size_, text_limit(path_, buffer_size_, "\" >> ")};
  va_end(arguments);
  direct_file{path_, write_mode::append}.write(line.text());
}

void trace_log::replace(const char* format, ...) const {
  std::va_list arguments;
  va_start(arguments, format);
  const trace_line line{format, arguments, buffer_size_, text_limit(path_, buffer_size_, "\" > ")};
  va_end(arguments);
  direct_file{path_, write_mode::replace}.write(line.text());
}

void open_trace_log::line(const char* format, ...) {
  std::va_list arguments;
  va_start(arguments, format);
  const trace_line line{format, arguments, buffer_size_, text_limit(path_, buffer_size_, "\" >> ")};
  va_end(arguments);
  if (!file_) file_ = direct_file{path_, write_mode::append};
  file_.write(line.text());
}

trace_block::trace_block(const char* path)
    : file_(path, write_mode::append), block_(new (std::nothrow) char[block_size]) {}

bool trace_block::append(std::string_view lines) {
  if (!block_) return false;
  if (used_ + lines.size() > block_size) write_block();
  used_ += lines.copy(block_.get() + used_, block_size - used_);
  return static_cast<bool>(file_);
}

void trace_block::write_block() {
  if (file_.write({block_.get(), used_}) != used_) file_ = {};
  used_ = 0;
}
