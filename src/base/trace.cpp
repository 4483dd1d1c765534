#include "base/trace.hpp"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <new>

#include "base/handles.hpp"

namespace {

constexpr mode_t log_file_mode = 0666;

// The longest text whose echo command fits the buffer: the command is the opening, the text, the
// redirection and the path.
std::size_t text_limit(std::string_view path, std::size_t buffer_size, std::string_view redirection) {
  constexpr std::string_view opening = "echo \"";
  const std::size_t around = opening.size() + redirection.size() + path.size() + 1;
  return buffer_size > around ? buffer_size - around : 0;
}

unique_fd open_log(const char* path, int flags) {
  return unique_fd{
      open(path, O_WRONLY | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC | flags, log_file_mode)};
}

// A line as the echo command would print it, its line feed included.
class trace_line {
 public:
  [[gnu::format(printf, 2, 0)]] trace_line(const char* format, std::va_list arguments,
                                           std::size_t buffer_size, std::size_t limit) {
    const int wanted = std::vsnprintf(text_.data(), std::min(buffer_size, text_.size()), format, arguments);
    length_ = std::min(static_cast<std::size_t>(std::max(wanted, 0)), limit);
    text_[length_++] = '\n';
  }

  void write_to(const unique_fd& file) const {
    if (!file) return;
    [[maybe_unused]] const ssize_t written = write(file.get(), text_.data(), length_);
  }

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
  line.write_to(open_log(path_, O_APPEND));
}

void trace_log::replace(const char* format, ...) const {
  std::va_list arguments;
  va_start(arguments, format);
  const trace_line line{format, arguments, buffer_size_, text_limit(path_, buffer_size_, "\" > ")};
  va_end(arguments);
  line.write_to(open_log(path_, O_TRUNC));
}

void open_trace_log::line(const char* format, ...) {
  std::va_list arguments;
  va_start(arguments, format);
  const trace_line line{format, arguments, buffer_size_, text_limit(path_, buffer_size_, "\" >> ")};
  va_end(arguments);
  if (!file_) file_ = open_log(path_, O_APPEND);
  line.write_to(file_);
}

trace_block::trace_block(const char* path)
    : file_(open_log(path, O_APPEND)), block_(new (std::nothrow) char[block_size]) {}

bool trace_block::append(std::string_view lines) {
  if (!block_) return false;
  if (used_ + lines.size() > block_size) write_block();
  used_ += lines.copy(block_.get() + used_, block_size - used_);
  return static_cast<bool>(file_);
}

void trace_block::write_block() {
  if (file_ && write(file_.get(), block_.get(), used_) != static_cast<ssize_t>(used_)) file_ = unique_fd{};
  used_ = 0;
}
