#include "cgi/capture_file.hpp"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string_view>
#include <utility>

#include "base/files.hpp"
#include "base/growing_array.hpp"
#include "base/handles.hpp"
#include "cgi/form_entry.hpp"
#include "cgi/state.hpp"
#include "cgi/variables.hpp"

namespace {

constexpr std::size_t chunk_size = 1024;

// The functions for single fields return false when the field could not be written or read completely.

bool write_bytes(std::FILE* capture, const void* bytes, std::size_t count) {
  return std::fwrite(bytes, 1, count, capture) == count;
}

bool write_number(std::FILE* capture, std::int32_t number) {
  return write_bytes(capture, &number, sizeof number);
}

bool write_text(std::FILE* capture, std::string_view text) {
  return write_number(capture, static_cast<std::int32_t>(text.size())) &&
         write_bytes(capture, text.data(), text.size());
}

// Writes the 1 and the content of an upload, or the 0 of a field without content.
bool write_content(std::FILE* capture, const char* path) {
  const unique_file content = *path != '\0' ? open_for_reading(path) : nullptr;
  if (!write_number(capture, content ? 1 : 0)) return false;
  std::array<char, chunk_size> chunk;
  while (const std::size_t length = content ? std::fread(chunk.data(), 1, chunk.size(), content.get()) : 0) {
    if (!write_bytes(capture, chunk.data(), length)) return false;
  }
  return true;
}

bool write_entry(std::FILE* capture, const cgiFormEntry& entry) {
  return write_text(capture, entry.name()) && write_text(capture, entry.value()) &&
         write_text(capture, entry.fileName()) && write_text(capture, entry.contentType()) &&
         write_number(capture, entry.valueLength) && write_content(capture, entry.tfileName());
}

bool write_request(std::FILE* capture) {
  if (!write_text(capture, cgiCaptureMagic)) return false;
  for (const cgiVariable& variable : cgiVariables) {
    if (!write_text(capture, *variable.value)) return false;
  }
  if (!write_number(capture, cgiContentLength)) return false;
  for (const cgiFormEntry* entry = cgiFormEntryFirst; entry != nullptr; entry = entry->next) {
    if (!write_entry(capture, *entry)) return false;
  }
  return true;
}

// Leaves `number` unchanged when the file ends inside it.
bool read_number(std::FILE* capture, std::int32_t& number) {
  std::int32_t whole = 0;
  if (std::fread(&whole, sizeof whole, 1, capture) != 1) return false;
  number = whole;
  return true;
}

// Reads a string into an empty array. Byte by byte, so that a length that the file only claims allocates
// nothing.
bool read_bytes(std::FILE* capture, growing_array<char>& text) {
  std::int32_t length = 0;
  if (!read_number(capture, length) || length < 0) return false;
  for (; length > 0; --length) {
    const int byte = getc_unlocked(capture);
    if (byte == EOF || !text.append(static_cast<char>(byte))) return false;
  }
  return true;
}

std::string_view view_of(const growing_array<char>& text) {
  return {text.items().data(), text.items().size()};
}

// Reads a string as a text of our own. Null when the file ends inside it, and without memory.
cgiText read_text(std::FILE* capture) {
  growing_array<char> text;
  return read_bytes(capture, text) ? cgiCopyText(view_of(text)) : nullptr;
}

bool read_variables(std::FILE* capture) {
  for (std::size_t index = 0; index < cgiVariables.size(); ++index) {
    cgiText text = read_text(capture);
    if (!text) return false;
    cgiRestoreVariable(index, std::move(text));
  }
  return read_number(capture, cgiContentLength);
}

// Copies the content of an upload from the capture into its temporary file. A write that fails, fclose
// included, is an error: a full disk must not leave a file that looks complete.
bool read_content(std::FILE* capture, std::int32_t length, const temp_file& temporary) {
  if (temporary.path().empty() || length < 0) return false;
  unique_file content = open_for_update(temporary.path().c_str());
  if (!content) return false;
  std::array<char, chunk_size> chunk;
  for (auto left = static_cast<std::size_t>(length); left > 0;) {
    const std::size_t wanted = std::min(left, chunk.size());
    if (std::fread(chunk.data(), 1, wanted, capture) != wanted) return false;
    if (!write_bytes(content.get(), chunk.data(), wanted)) return false;
    left -= wanted;
  }
  return std::fclose(content.release()) == 0;
}

// The texts of the entry that is being read.
struct entry_texts {
  growing_array<char> name;
  growing_array<char> value;
  growing_array<char> file_name;
  growing_array<char> content_type;
};

cgiEnvironmentResultType append_entry(const entry_texts& texts, std::string_view temporary_name,
                                      std::int32_t length) {
  cgiNewEntry entry;
  const bool made = entry.begin({.name = view_of(texts.name),
                                 .fileName = view_of(texts.file_name),
                                 .contentType = view_of(texts.content_type),
                                 .tfileName = temporary_name},
                                texts.value.size()) &&
                    entry.block().append_all(texts.value.items()) &&
                    entry.append_to_list(length) == cgiParseSuccess;
  return made ? cgiEnvironmentSuccess : cgiEnvironmentMemory;
}

// Reads the part of an entry that follows its name, and appends the entry to the list.
cgiEnvironmentResultType read_entry(std::FILE* capture, entry_texts& texts) {
  std::int32_t length = 0;
  std::int32_t has_content = 0;
  const bool whole = read_bytes(capture, texts.value) && read_bytes(capture, texts.file_name) &&
                     read_bytes(capture, texts.content_type) && read_number(capture, length) &&
                     read_number(capture, has_content);
  if (!whole) return cgiEnvironmentMemory;
  if (has_content == 0) return append_entry(texts, {}, length);
  temp_file temporary{cgiTemporaryFiles};
  if (!read_content(capture, length, temporary)) return cgiEnvironmentIO;
  const cgiEnvironmentResultType result = append_entry(texts, temporary.path().view(), length);
  if (result == cgiEnvironmentSuccess) temporary.keep();
  return result;
}

// The list has no end mark. It ends where the name of another entry cannot be read, for whatever reason.
cgiEnvironmentResultType read_entries(std::FILE* capture) {
  for (;;) {
    entry_texts texts;
    if (!read_bytes(capture, texts.name)) return cgiEnvironmentSuccess;
    const cgiEnvironmentResultType result = read_entry(capture, texts);
    if (result != cgiEnvironmentSuccess) return result;
  }
}

}  // namespace

cgiEnvironmentResultType cgiWriteEnvironment(const char* path) {
  unique_file capture = open_for_writing(path, write_mode::replace);
  if (!capture) return cgiEnvironmentIO;
  set_blocking(fileno(capture.get()));  // so that a slow reader of a pipe gets everything
  const bool written = write_request(capture.get());
  if (std::fclose(capture.release()) == 0 && written) return cgiEnvironmentSuccess;
  delete_regular_file(path);
  return cgiEnvironmentIO;
}

cgiEnvironmentResultType cgiReadEnvironment(const char* path) {
  cgiFreeResources();
  const unique_file capture = open_waiting(path);
  growing_array<char> magic;
  if (!capture || !read_bytes(capture.get(), magic)) return cgiEnvironmentIO;
  if (view_of(magic) != cgiCaptureMagic) return cgiEnvironmentWrongVersion;
  const bool has_variables = read_variables(capture.get());
  const cgiEnvironmentResultType result = has_variables ? read_entries(capture.get()) : cgiEnvironmentIO;
  if (result != cgiEnvironmentSuccess) {
    cgiFreeResources();
    return result;
  }
  cgiRestored = 1;
  return cgiEnvironmentSuccess;
}
