#include "base/trace.hpp"

#include <fcntl.h>
#include <sys/uio.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <new>

#include "base/handles.hpp"
#include "base/text.hpp"

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

void write_line(const unique_fd& file, std::string_view text) {
  if (!file) return;
  char line_feed = '\n';
  const std::array<iovec, 2> line{
      iovec{const_cast<char*>(text.data()), text.size()},
      iovec{&line_feed, 1},
  };
  // A log that takes no more is no reason to fail the request.
  [[maybe_unused]] const ssize_t written = writev(file.get(), line.data(), line.size());
}

std::string_view appended_text(const char* path, std::size_t buffer_size, std::string_view text) {
  return text_before_zero(text).substr(0, text_limit(path, buffer_size, "\" >> "));
}

}  // namespace

void trace_append(const char* path, std::size_t buffer_size, std::string_view text) {
  write_line(open_log(path, O_APPEND), appended_text(path, buffer_size, text));
}

void trace_replace(const char* path, std::size_t buffer_size, std::string_view text) {
  write_line(open_log(path, O_TRUNC),
             text_before_zero(text).substr(0, text_limit(path, buffer_size, "\" > ")));
}

void trace_log::append(std::string_view text) {
  if (!file_) file_ = open_log(path_, O_APPEND);
  write_line(file_, appended_text(path_, buffer_size_, text));
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
