#include "uploads/staging.hpp"

#include <array>
#include <cstddef>
#include <memory>
#include <utility>

#include "base/files.hpp"
#include "base/fixed_text.hpp"
#include "base/handles.hpp"
#include "base/shell.hpp"
#include "base/unit.hpp"
#include "cgi/uploaded_files.hpp"
#include "uploads/uploads_state.hpp"

namespace {

constexpr const char* upload_field = "file";
constexpr int chunk_size = 1023;
// The size of both streams' buffers: a system call for every chunk would cost as much as the copy itself.
constexpr std::size_t stream_buffer_size = 65536;

struct upload_closer {
  void operator()(cgiFilePtr file) const { cgiFormFileClose(file); }
};
using unique_upload = std::unique_ptr<cgiFile, upload_closer>;

// Keeps upload_log open while in scope.
class log_session {
 public:
  log_session() : file_(open_for_writing("/www/upload_file.txt", write_mode::replace)) {
    upload_log = file_.get();
  }
  log_session(const log_session&) = delete;
  log_session& operator=(const log_session&) = delete;
  ~log_session() { upload_log = nullptr; }

 private:
  unique_file file_;
};

int fail_in_log(const char* line) {
  std::fputs(line, upload_log);
  return -1;
}

// Logs the client's file name and the file's size. Returns false when there is no field "file".
bool log_upload() {
  fixed_text<1024> file_name;
  int size = 0;
  if (cgiFormFileName(upload_field, file_name.buffer().data(), 1024) == cgiFormNotFound) return false;
  std::fprintf(upload_log, "file name: %s\n", file_name.c_str());
  cgiFormFileSize(upload_field, &size);
  std::fprintf(upload_log, "file size: %d bytes\n", size);
  return true;
}

// Gives both streams large buffers. They are static to outlive the streams, and because some servers limit
// the stack.
void use_large_buffers(std::FILE* from, std::FILE* to) {
  static constinit std::array<char, stream_buffer_size> read_buffer{};
  static constinit std::array<char, stream_buffer_size> write_buffer{};
  std::setvbuf(from, read_buffer.data(), _IOFBF, read_buffer.size());
  std::setvbuf(to, write_buffer.data(), _IOFBF, write_buffer.size());
}

// Copies the upload in chunks. A read error counts as EOF. Bytes that the disk did not take, fclose included,
// count as a short write: a cut file must not pass for the upload.
int copy_upload(cgiFilePtr upload, unique_file staged) {
  use_large_buffers(upload->stream, staged.get());
  std::array<char, chunk_size + 1> chunk;
  int length = 0;
  std::size_t written = 0;
  while (cgiFormFileRead(upload, chunk.data(), chunk_size, &length) == cgiFormSuccess) {
    written = std::fwrite(chunk.data(), 1, static_cast<std::size_t>(length), staged.get());
    if (written != static_cast<std::size_t>(length)) break;
  }
  const bool short_write = written != static_cast<std::size_t>(length);
  if (std::fclose(staged.release()) == 0 && !short_write) return 0;
  std::fprintf(upload_log, "failed to write to source_file %d != %d\n",
               short_write ? static_cast<int>(written) : 0, length);
  return -1;
}

}  // namespace

int stage_uploaded_file() {
  shell_run(unit::stop_link);
  const log_session log;
  if (upload_log == nullptr) return -1;
  if (!log_upload()) return fail_in_log("No file was uploaded.\n");

  cgiFilePtr opened = nullptr;
  if (cgiFormFileOpen(upload_field, &opened) != cgiFormSuccess) {
    return fail_in_log("Could not open the file.\n");
  }
  const unique_upload upload{opened};
  unique_file staged = open_for_writing("/dev/shm/source_file", write_mode::replace);
  if (!staged) return fail_in_log("failed to open source_file\n");
  return copy_upload(upload.get(), std::move(staged));
}
