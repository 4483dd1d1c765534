#include "kept_settings.hpp"

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <string_view>

#include "units_csv.hpp"

namespace fleet {

namespace {

// Writes the text and syncs it to the disk.
bool write_whole(int file, std::string_view text) {
  while (!text.empty()) {
    const ssize_t written = write(file, text.data(), text.size());
    if (written < 0) return false;
    text.remove_prefix(static_cast<std::size_t>(written));
  }
  return fsync(file) == 0;
}

// Syncs a directory, which makes a rename in it durable.
bool sync_path(const std::string& path) {
  const int directory = open(path.c_str(), O_RDONLY | O_CLOEXEC);
  const bool synced = directory >= 0 && fsync(directory) == 0;
  if (directory >= 0) close(directory);
  return synced;
}

}  // namespace

// The new file is complete on the disk before it replaces the old one, so a power cut leaves either of them.
bool write_kept(const std::string& path, const parameters& known) {
  const std::string fresh = path + ".new";
  const int file = open(fresh.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
  if (file < 0) return false;
  const bool written = write_whole(file, units_text(known));
  const bool closed = close(file) == 0;
  return written && closed && std::rename(fresh.c_str(), path.c_str()) == 0 &&
         sync_path(path.substr(0, path.rfind('/') + 1) + ".");
}

}  // namespace fleet
