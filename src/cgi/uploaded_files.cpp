#include "cgi/uploaded_files.hpp"

#include <algorithm>
#include <cstddef>
#include <memory>
#include <new>
#include <string_view>

#include "base/files.hpp"
#include "base/text.hpp"

namespace {

// Copies one text of the first field of that name. `missing` is the result when that text is empty.
cgiFormResultType copy_text(const char* name, const char* (cgiFormEntry::*text)() const,
                            cgiFormResultType missing, char* result, int max) {
  const cgiFormEntry* entry = cgiFindFirstEntry(name);
  const std::string_view found = entry != nullptr ? (entry->*text)() : "";
  bounded_text copy{{result, static_cast<std::size_t>(std::max(max, 0))}};
  const bool whole = copy.add(found);
  if (entry == nullptr) return cgiFormNotFound;
  if (found.empty()) return missing;
  return whole ? cgiFormSuccess : cgiFormTruncated;
}

// Finds the first field of that name. Returns cgiFormSuccess when it is an upload, else the reason why not.
cgiFormResultType find_upload(const char* name, const cgiFormEntry*& entry) {
  entry = cgiFindFirstEntry(name);
  if (entry == nullptr) return cgiFormNotFound;
  return entry->tfileName()[0] != '\0' ? cgiFormSuccess : cgiFormNotAFile;
}

}  // namespace

cgiFormResultType cgiFormFileName(const char* name, char* result, int max) {
  return copy_text(name, &cgiFormEntry::fileName, cgiFormNoFileName, result, max);
}

cgiFormResultType cgiFormFileContentType(const char* name, char* result, int max) {
  return copy_text(name, &cgiFormEntry::contentType, cgiFormNoContentType, result, max);
}

cgiFormResultType cgiFormFileSize(const char* name, int* size) {
  const cgiFormEntry* entry = nullptr;
  const cgiFormResultType result = find_upload(name, entry);
  if (size != nullptr) *size = result == cgiFormSuccess ? entry->valueLength : 0;
  return result;
}

cgiFormResultType cgiFormFileOpen(const char* name, cgiFilePtr* file) {
  const cgiFormEntry* entry = nullptr;
  const cgiFormResultType result = find_upload(name, entry);
  std::unique_ptr<cgiFile> handle{result == cgiFormSuccess ? new (std::nothrow) cgiFile{nullptr} : nullptr};
  if (!handle) {
    *file = nullptr;
    return result == cgiFormSuccess ? cgiFormMemory : result;
  }
  handle->stream = open_for_reading(entry->tfileName()).release();
  if (handle->stream == nullptr) return cgiFormIO;
  *file = handle.release();
  return cgiFormSuccess;
}

cgiFormResultType cgiFormFileRead(cgiFilePtr file, char* buffer, int size, int* got) {
  if (file == nullptr) return cgiFormOpenFailed;
  const std::size_t length = std::fread(buffer, 1, static_cast<std::size_t>(std::max(size, 0)), file->stream);
  if (length == 0) return cgiFormEOF;
  *got = static_cast<int>(length);
  return cgiFormSuccess;
}

cgiFormResultType cgiFormFileClose(cgiFilePtr file) {
  if (file == nullptr) return cgiFormOpenFailed;
  std::fclose(file->stream);
  delete file;
  return cgiFormSuccess;
}
