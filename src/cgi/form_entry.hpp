// Form entries: every field of a request, however it arrived, is one cgiFormEntry in one list.
//   order   as the fields stand in the input; names need not be unique, lookups take the first match
//   owner   the list owns its entries, an entry owns its texts and its temporary file
//   memory  an entry is one block: the record, followed by its texts. Very many tiny fields take some 24 times
//           the size of the request
//   life    filled by exactly one decoder, or from a capture file; released once by cgiFreeResources

#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>

#include "base/growing_array.hpp"

// A zero-terminated text of our own; null when there was no memory for it.
using cgiText = std::unique_ptr<char[]>;

struct cgiFormEntry {
  // Decoded. Each text is zero-terminated and lives as long as its entry.
  [[nodiscard]] const char* name() const { return text_at(sizeof(cgiFormEntry)); }
  // Decoded; empty for an uploaded file.
  [[nodiscard]] const char* value() const { return text_at(value_place); }
  // The client's name of an uploaded file, else empty.
  [[nodiscard]] const char* fileName() const { return text_at(file_name_place); }
  // Of a multipart part, else empty.
  [[nodiscard]] const char* contentType() const { return text_at(content_type_place); }
  // Path of the temporary file of an upload, else empty.
  [[nodiscard]] const char* tfileName() const { return text_at(temporary_name_place); }

  cgiFormEntry* next;  // null in the last entry
  // url-encoded: the length of the value up to its first zero byte; multipart: the number of body bytes
  std::int32_t valueLength;

  // Where the other texts begin in the entry's block, in bytes; the name follows the record.
  std::uint32_t file_name_place;
  std::uint32_t content_type_place;
  std::uint32_t temporary_name_place;
  std::uint32_t value_place;

 private:
  [[nodiscard]] const char* text_at(std::size_t place) const {
    return static_cast<const char*>(static_cast<const void*>(this)) + place;
  }
};

// What a body decoder returns.
enum cgiParseResultType {
  cgiParseSuccess,  // 0: all fields are in the list
  cgiParseMemory,   // 1: there was no memory for a field
  cgiParseIO,       // 2: the input ended early or is malformed
};

// What the readers of form fields and cookies return.
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

// A copy of the text, zero-terminated; null when there is no memory.
[[nodiscard]] cgiText cgiCopyText(std::string_view text);

// All texts of an entry but its value.
struct cgiEntryTexts {
  std::string_view name;
  std::string_view fileName = {};
  std::string_view contentType = {};
  std::string_view tfileName = {};
};

// An entry in the making. Its value grows at the end of the entry's own block, so a large one is never copied.
class cgiNewEntry {
 public:
  // Begins an entry of these texts and an empty value, which is expected to become that long. False when there is no
  // memory.
  [[nodiscard]] bool begin(const cgiEntryTexts& texts, std::size_t expected_length);

  // Takes the bytes of the value at its end.
  [[nodiscard]] growing_array<char>& block() { return block_; }

  // The value so far.
  [[nodiscard]] std::string_view value() const;

  // Ends the value and appends the entry to the list, in constant time. Returns cgiParseSuccess, or cgiParseMemory
  // with the list as it was.
  [[nodiscard]] cgiParseResultType append_to_list(std::int32_t valueLength);

 private:
  // Both false when the block has outgrown a place's numbers; add_text also without memory.
  bool place_next_text(std::uint32_t& place);
  bool add_text(std::string_view text, std::uint32_t& place);

  growing_array<char> block_;
  cgiFormEntry record_{};
};

// The first entry, or the next one after the last found, whose name equals the given one byte for byte; null
// when there is none. Both keep their place in one shared search position: it stands after the entry found,
// or at the end of the list. The name must outlive the search.
[[nodiscard]] const cgiFormEntry* cgiFindFirstEntry(const char* name);
[[nodiscard]] const cgiFormEntry* cgiFindNextEntry();

// Releases the whole list and deletes the temporary files it names. With cgiRestored the captured variables
// become empty too.
void cgiFreeResources();

// Deletes the temporary files of the list, and the one that is still arriving. Async-signal-safe.
void cgiDeleteTemporaryFiles();

// 1 when both texts are equal without regard to the case of ASCII letters, else 0.
[[nodiscard]] int cgiStrEqNc(const char* left, const char* right);
