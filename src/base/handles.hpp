// Handles that close themselves when they leave their scope. No child inherits one: every function that opens
// a file, pipe or socket (files.hpp, shell.hpp, datagram.hpp) sets the close-on-exec flag. The exception is
// mkstemp's fd in temp_file, which is closed at once.

#pragma once

#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <memory>
#include <utility>

struct file_closer {
  void operator()(std::FILE* stream) const { std::fclose(stream); }
};
// A buffered file stream. Empty when it could not be opened.
using unique_file = std::unique_ptr<std::FILE, file_closer>;

struct folder_closer {
  void operator()(DIR* folder) const { closedir(folder); }
};
// An open folder. Empty when it could not be opened.
using unique_folder = std::unique_ptr<DIR, folder_closer>;

// A file descriptor, or -1 for none.
class unique_fd {
 public:
  explicit unique_fd(int descriptor = -1) : descriptor_(descriptor) {}
  unique_fd(unique_fd&& other) noexcept : descriptor_(std::exchange(other.descriptor_, -1)) {}
  unique_fd& operator=(unique_fd&& other) noexcept {
    std::swap(descriptor_, other.descriptor_);
    return *this;
  }
  unique_fd(const unique_fd&) = delete;
  unique_fd& operator=(const unique_fd&) = delete;
  ~unique_fd() {
    if (descriptor_ >= 0) close(descriptor_);
  }

  // Hands the fd over to the caller, who closes it.
  [[nodiscard]] int release() { return std::exchange(descriptor_, -1); }

  [[nodiscard]] int get() const { return descriptor_; }
  [[nodiscard]] explicit operator bool() const { return descriptor_ >= 0; }

 private:
  int descriptor_;
};

// Clears O_NONBLOCK. The flag belongs to the open file, which the parent may have shared with us, so it can
// be set although nobody here asked for it. A closed fd is left alone.
inline void set_blocking(int descriptor) {
  const int flags = fcntl(descriptor, F_GETFL);
  if (flags != -1) fcntl(descriptor, F_SETFL, flags & ~O_NONBLOCK);
}
