#include "cgi/uploaded_files.hpp"

#include <algorithm>
#include <cstddef>
#include <new>
#include <string_view>

#include "base/files.hpp"

namespace {

// Copies one text of the first field of that name; `missing` is the result when it is empty.
cgiFormResultType copy_text(const char* name, cgiText cgiFormEntry::*text, cgiFormResultType missing,
                            char* result, int max) {
  const cgiFormEntry* entry = cgiFindFirstEntry(name);
  const std::string_view found = entry != nullptr ? (entry->*text).get() : "";
  const std::size_t room = max > 0 ? static_cast<std::size_t>(max - 1) : 0;
  if (max > 0) result[found.copy(result, room)] = '\0';
  if (entry == nullptr) return cgiFormNotFound;
  if (found.empty()) return missing;
  return found.size() > room ? cgiFormTruncated : cgiFormSuccess;
}

// The upload of that name; null for a plain field and for none, and `result` then says which.
const cgiFormEntry* find_upload(const char* name, cgiFormResultType& result) {
  const cgiFormEntry* entry = cgiFindFirstEntry(name);
  const bool is_file = entry != nullptr && entry->tfileName[0] != '\0';
  result = entry == nullptr ? cgiFormNotFound : is_file ? cgiFormSuccess : cgiFormNotAFile;
  return is_file ? entry : nullptr;
}

}  // namespace

cgiFormResultType cgiFormFileName(const char* name, char* result, int max) {
  return copy_text(name, &cgiFormEntry::fileName, cgiFormNoFileName, result, max);
}

cgiFormResultType cgiFormFileContentType(const char* name, char* result, int max) {
  return copy_text(name, &cgiFormEntry::contentType, cgiFormNoContentType, result, max);
}

cgiFormResultType cgiFormFileSize(const char* name, int* size) {
  cgiFormResultType result = cgiFormSuccess;
  const cgiFormEntry* upload = find_upload(name, result);
  if (size != nullptr) *size = upload != nullptr ? upload->valueLength : 0;
  return result;
}

cgiFormResultType cgiFormFileOpen(const char* name, cgiFilePtr* file) {
  cgiFormResultType result = cgiFormSuccess;
  const cgiFormEntry* upload = find_upload(name, result);
  auto* handle = upload != nullptr ? new (std::nothrow) cgiFile{nullptr} : nullptr;
  if (handle == nullptr) {
    *file = nullptr;
    return upload != nullptr ? cgiFormMemory : result;
  }
  handle->stream = open_for_reading(upload->tfileName.get()).release();
  if (handle->stream == nullptr) {
    delete handle;
    return cgiFormIO;
  }
  *file = handle;
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
