// Handles that close themselves when they leave their scope. None of them is inherited by a child:
// whoever opens one sets its close-on-exec flag (files.hpp, shell.hpp, datagram.hpp do).

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
// A buffered file stream; empty when it could not be opened.
using unique_file = std::unique_ptr<std::FILE, file_closer>;

struct folder_closer {
  void operator()(DIR* folder) const { closedir(folder); }
};
// An open folder; empty when it could not be opened.
using unique_folder = std::unique_ptr<DIR, folder_closer>;

// A file descriptor; -1 when there is none.
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

  // Gives the descriptor away: the caller closes it.
  [[nodiscard]] int release() { return std::exchange(descriptor_, -1); }

  [[nodiscard]] int get() const { return descriptor_; }
  [[nodiscard]] explicit operator bool() const { return descriptor_ >= 0; }

 private:
  int descriptor_;
};

// Makes reads and writes wait, whatever was asked for before; for a descriptor that is open.
inline void set_blocking(int descriptor) {
  const int flags = fcntl(descriptor, F_GETFL);
  if (flags != -1) fcntl(descriptor, F_SETFL, flags & ~O_NONBLOCK);
}
