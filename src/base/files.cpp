#include "base/files.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>

namespace {

constexpr std::size_t copy_block_size = 4096;
constexpr mode_t new_file_mode = 0666;

// O_NONBLOCK: without it, opening a FIFO that somebody planted at the path would block the request until
// another process opens the other end.
unique_fd open_descriptor(const char* path, int flags) {
  return unique_fd{open(path, flags | O_NONBLOCK | O_CLOEXEC, new_file_mode)};
}

// True when the path is a symlink that root or our own user created.
bool is_our_link(const char* path) {
  struct stat status {};
  if (lstat(path, &status) != 0 || !S_ISLNK(status.st_mode)) return false;
  return status.st_uid == 0 || status.st_uid == geteuid();
}

// Opens for writing. O_NOFOLLOW refuses a symlink as the last part of the path; only when we trust its owner
// is the path opened again with the link followed.
//
//     /tmp/site.log -> /mnt/log    owned by root or by us     written to /mnt/log
//     /tmp/site.log -> /etc/shadow owned by another user      not opened
unique_fd open_place(const char* path, int flags) {
  unique_fd descriptor = open_descriptor(path, flags | O_CREAT | O_NOFOLLOW);
  if (!descriptor && errno == ELOOP && is_our_link(path)) descriptor = open_descriptor(path, flags | O_CREAT);
  return descriptor;
}

// The open flags of a write mode.
constexpr int writing(write_mode mode) {
  return O_WRONLY | (mode == write_mode::append ? O_APPEND : O_TRUNC);
}

// Makes a buffered stream of the fd. Empty when there is no fd or no memory; the fd is then closed.
unique_file stream_of(unique_fd descriptor, const char* mode) {
  if (!descriptor) return nullptr;
  unique_file file{fdopen(descriptor.get(), mode)};
  if (file) static_cast<void>(descriptor.release());
  return file;
}

}  // namespace

void prepare_standard_descriptors() {
  // open returns the lowest free fd, so each round fills one gap below 3, if there is one.
  int descriptor = 0;
  do {
    descriptor = open("/dev/null", O_RDWR);
  } while (descriptor >= 0 && descriptor <= STDERR_FILENO);
  if (descriptor > STDERR_FILENO) close(descriptor);
  set_blocking(STDIN_FILENO);
  set_blocking(STDOUT_FILENO);
}

unique_file open_for_reading(const char* path) {
  return stream_of(open_descriptor(path, O_RDONLY), "r");
}

unique_file open_waiting(const char* path) {
  return stream_of(unique_fd{open(path, O_RDONLY | O_CLOEXEC)}, "r");
}

unique_file open_for_writing(const char* path, write_mode mode) {
  return stream_of(open_place(path, writing(mode)), mode == write_mode::append ? "a" : "w");
}

direct_file::direct_file(const char* path, write_mode mode) : descriptor_(open_place(path, writing(mode))) {}

std::size_t direct_file::write(std::string_view text) {
  std::size_t written = 0;
  while (descriptor_ && written < text.size()) {
    const ssize_t length = ::write(descriptor_.get(), text.data() + written, text.size() - written);
    if (length < 0 && errno == EINTR) continue;
    if (length <= 0) break;
    written += static_cast<std::size_t>(length);
  }
  return written;
}

bool direct_file::write_whole(std::string_view text) {
  const std::size_t written = write(text);
  if (written == text.size()) return true;
  struct stat status {};
  // Part of the text is at the end of the file. Take it off again: half a line is worse than none.
  if (written > 0 && fstat(descriptor_.get(), &status) == 0) {
    [[maybe_unused]] const int result =
        ftruncate(descriptor_.get(), status.st_size - static_cast<off_t>(written));
  }
  return false;
}

unique_file open_for_update(const char* path) {
  return stream_of(open_place(path, O_RDWR | O_TRUNC), "w+b");
}

unique_folder open_folder(const char* path) {
  return unique_folder{opendir(path)};
}

const char* next_name(DIR* folder) {
  const dirent* entry = readdir(folder);
  return entry != nullptr ? entry->d_name : nullptr;
}

void delete_file(const char* path) {
  unlink(path);
}

void delete_regular_file(const char* path) {
  struct stat status {};
  if (lstat(path, &status) == 0 && S_ISREG(status.st_mode)) delete_file(path);
}

bool file_exists(const char* path) {
  return access(path, F_OK) == 0;
}

file_mark mark_of(const char* path) {
  struct stat status {};
  if (lstat(path, &status) != 0) return {};
  return {status.st_ino, status.st_size, status.st_ctim.tv_sec, status.st_ctim.tv_nsec};
}

std::size_t read_line(std::FILE* file, std::span<char> line) {
  std::ranges::fill(line, '\0');
  std::size_t length = 0;
  while (length + 1 < line.size()) {
    const int byte = getc_unlocked(file);
    if (byte == EOF) break;
    line[length++] = static_cast<char>(byte);
    if (byte == '\n') break;
  }
  return length;
}

std::size_t count_lines(std::FILE* file) {
  std::array<char, copy_block_size> block;
  std::size_t lines = 0;
  char last = '\n';
  while (const std::size_t length = std::fread(block.data(), 1, block.size(), file)) {
    lines += static_cast<std::size_t>(std::ranges::count(std::span{block}.first(length), '\n'));
    last = block[length - 1];
  }
  return last == '\n' ? lines : lines + 1;
}

std::size_t read_available(std::FILE* file, std::span<char> buffer) {
  // read() bypasses the stream's buffer, so that a pipe's bytes are returned as soon as they arrive.
  const int descriptor = fileno(file);
  if (descriptor < 0) return std::fread(buffer.data(), 1, buffer.size(), file);
  ssize_t length = 0;
  do {
    length = read(descriptor, buffer.data(), buffer.size());
  } while (length < 0 && errno == EINTR);
  return length > 0 ? static_cast<std::size_t>(length) : 0;
}

std::size_t read_whole(std::FILE* file, std::span<char> buffer) {
  std::size_t length = 0;
  while (length < buffer.size()) {
    const std::size_t added = read_available(file, buffer.subspan(length));
    if (added == 0) break;
    length += added;
  }
  return length;
}

void copy_stream(std::FILE* from, std::FILE* to) {
  std::array<char, copy_block_size> block;
  for (;;) {
    const std::size_t length = std::fread(block.data(), 1, block.size(), from);
    if (length == 0 || std::fwrite(block.data(), 1, length, to) != length) return;
  }
}

void delete_temporary_files(std::string_view pattern) {
  // /dev/shm/cgicXXXXXX: the folder, the name, and the name without its X.
  const std::size_t slash = pattern.rfind('/');
  const std::string_view name = pattern.substr(slash + 1);
  const std::string_view stem = name.substr(0, name.find_last_not_of('X') + 1);
  fixed_text<1024> path;
  path.assign_cut(pattern.substr(0, slash));
  const unique_folder folder = open_folder(path.c_str());
  while (const char* found = folder ? next_name(folder.get()) : nullptr) {
    const std::string_view candidate{found};
    if (candidate.size() != name.size() || !candidate.starts_with(stem)) continue;
    if (!std::ranges::all_of(candidate.substr(stem.size()), is_letter_or_digit)) continue;
    path.assign_cut(pattern.substr(0, slash + 1));
    path.append_cut(candidate);
    delete_regular_file(path.c_str());
  }
}

temp_file::temp_file(std::string_view pattern) {
  path_.assign_cut(pattern);
  const unique_fd made{mkstemp(path_.buffer().data())};
  // mkstemp already creates the file with mode 0600 on current C libraries. Old ones left it to the umask.
  if (made && fchmod(made.get(), S_IRUSR | S_IWUSR) == 0) return;
  if (made) delete_file(path_.c_str());
  path_.clear();
}

temp_file::~temp_file() {
  if (!kept_ && !path_.empty()) delete_file(path_.c_str());
}
