// Form entries: every field of a request, however it arrived, is one cgiFormEntry in one list.
//   order   that of the input; several fields may have the same name, and lookups find the first
//   owner   the list owns its entries, an entry owns its texts and its temporary file
//   life    filled by exactly one decoder or from a capture file, released once by cgiFreeResources
//   memory  one block an entry, the record and its five texts, each terminated:
//
//             | cgiFormEntry | name\0 | fileName\0 | contentType\0 | tfileName\0 | value\0 |
//
// One block, because a request may consist of very many tiny fields: they take about 24 times the size of the
// request.

#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>

#include "base/growing_array.hpp"

// A zero-terminated text that we allocated. Null when there was no memory for it.
using cgiText = std::unique_ptr<char[]>;

// One decoded field.
struct cgiFormEntry {
  // The decoded name, empty when a multipart part has none. All five texts are zero-terminated and live as
  // long as the entry.
  [[nodiscard]] const char* name() const { return text_at(sizeof(cgiFormEntry)); }
  // The decoded value, empty for an uploaded file.
  [[nodiscard]] const char* value() const { return text_at(value_place); }
  // The name that the client gave an uploaded file, else empty.
  [[nodiscard]] const char* fileName() const { return text_at(file_name_place); }
  // The content type of a multipart part, else empty.
  [[nodiscard]] const char* contentType() const { return text_at(content_type_place); }
  // The path of the temporary file of an upload, else empty.
  [[nodiscard]] const char* tfileName() const { return text_at(temporary_name_place); }

  cgiFormEntry* next;  // null in the last entry
  // The length of the value in bytes. url-encoded: up to its first zero byte; multipart: all bytes of the
  // body, for an upload the size of its file.
  std::int32_t valueLength;

  // The offsets of the other texts in the entry's block, in bytes. The name follows the record.
  std::uint32_t file_name_place;
  std::uint32_t content_type_place;
  std::uint32_t temporary_name_place;
  std::uint32_t value_place;

 private:
  [[nodiscard]] const char* text_at(std::size_t place) const {
    return static_cast<const char*>(static_cast<const void*>(this)) + place;
  }
};

// The results of a body decoder.
enum cgiParseResultType {
  cgiParseSuccess,  // 0: all fields are in the list
  cgiParseMemory,   // 1: there was no memory for a field
  cgiParseIO,       // 2: the input ended early or is malformed
};

// The results of the functions that read form fields, uploads and cookies, and of those that escape text.
enum cgiFormResultType {
  cgiFormSuccess,        // 0: done
  cgiFormTruncated,      // 1: the text was cut to fit the caller's buffer
  cgiFormBadType,        // 2: the value is not a number
  cgiFormEmpty,          // 3: the value is empty, or nothing of it was kept
  cgiFormNotFound,       // 4: no field of that name; for the multi-choice readers also: nothing matched
  cgiFormConstrained,    // 5: the number was clamped to the given range
  cgiFormNoSuchChoice,   // 6: the value equals none of the given choices
  cgiFormMemory,         // 7: memory ran out
  cgiFormNoFileName,     // 8: the upload field has no client file name
  cgiFormNoContentType,  // 9: the upload field has no content type
  cgiFormNotAFile,       // 10: the field is not an uploaded file
  cgiFormOpenFailed,     // 11: the upload handle passed in is null
  cgiFormIO,             // 12: a temporary file could not be opened, or output failed
  cgiFormEOF,            // 13: no more data in the upload
};

// A zero-terminated copy of the text. Null without memory.
[[nodiscard]] cgiText cgiCopyText(std::string_view text);

// All texts of an entry except its value.
struct cgiEntryTexts {
  std::string_view name;
  std::string_view fileName = {};
  std::string_view contentType = {};
  std::string_view tfileName = {};
};

// Builds an entry. The value grows at the end of the entry's own block, so a large one is never copied.
class cgiNewEntry {
 public:
  // Starts an entry with these texts and an empty value. `expected_length` is the length that the value will
  // probably have; memory for it is reserved. Returns false without memory.
  [[nodiscard]] bool begin(const cgiEntryTexts& texts, std::size_t expected_length);

  // The block: append the bytes of the value to it.
  [[nodiscard]] growing_array<char>& block() { return block_; }

  // The value so far, not terminated yet.
  [[nodiscard]] std::string_view value() const;

  // Terminates the value and appends the entry to the list, in constant time. Returns cgiParseSuccess, or
  // cgiParseMemory; the list is then unchanged.
  [[nodiscard]] cgiParseResultType append_to_list(std::int32_t valueLength);

 private:
  // Both return false when an offset no longer fits 32 bits. add_text also without memory.
  bool place_next_text(std::uint32_t& place);
  bool add_text(std::string_view text, std::uint32_t& place);

  growing_array<char> block_;
  cgiFormEntry record_{};
};

// Finds the first entry with this name, compared byte for byte, or the next one after the entry found last.
// Null when there is none. Both use one process-wide search position, so two searches cannot be interleaved.
// The name must stay valid during the search.
[[nodiscard]] const cgiFormEntry* cgiFindFirstEntry(const char* name);
[[nodiscard]] const cgiFormEntry* cgiFindNextEntry();

// Releases the whole list and deletes its temporary files. When cgiRestored is 1 it also makes the captured
// variables empty.
void cgiFreeResources();

// Deletes the temporary files of the list and the one that is being received. Async-signal-safe.
void cgiDeleteTemporaryFiles();

// Returns 1 when both texts are equal without regard to the case of ASCII letters, else 0.
[[nodiscard]] int cgiStrEqNc(const char* left, const char* right);
