// Form entries: every field of a request, however it arrived, is one cgiFormEntry in one list.
//   order   as the fields stand in the input; names need not be unique, lookups take the first match
//   owner   the list owns its entries, an entry owns its texts and its temporary file
//   life    filled by exactly one decoder, or from a capture file; released once by cgiFreeResources

#pragma once

#include <cstdint>
#include <memory>
#include <string_view>

// A zero-terminated text of our own; null when there was no memory for it.
using cgiText = std::unique_ptr<char[]>;

struct cgiFormEntry {
  cgiText name;   // decoded
  cgiText value;  // decoded; empty for an uploaded file
  // url-encoded: the length of `value` up to its first zero byte; multipart: the number of body bytes
  std::int32_t valueLength;
  cgiText fileName;     // the client's name of an uploaded file, else empty
  cgiText contentType;  // of a multipart part, else empty
  cgiText tfileName;    // path of the temporary file that holds an upload, else empty
  cgiFormEntry* next;   // null in the last entry
};

// The pattern of the paths of temporary files.
inline constexpr std::string_view cgiTemporaryFiles = "/dev/shm/cgicXXXXXX";

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

// Appends the entry to the list, in constant time. A null text counts as one there was no memory for. Returns
// cgiParseSuccess, or cgiParseMemory with the list as it was.
[[nodiscard]] cgiParseResultType cgiAppendEntry(cgiFormEntry&& fields);

// The same for a field that has no more than a name and a value.
[[nodiscard]] cgiParseResultType cgiAppendPlainEntry(cgiText name, cgiText value, std::int32_t valueLength);

// The first entry, or the next one after the last found, whose name equals the given one byte for byte; null
// when there is none. Both keep their place in one shared search position: it stands after the entry found,
// or at the end of the list. The name must outlive the search.
[[nodiscard]] const cgiFormEntry* cgiFindFirstEntry(const char* name);
[[nodiscard]] const cgiFormEntry* cgiFindNextEntry();

// Releases the whole list and deletes the temporary files it names. With cgiRestored the captured variables
// become empty too.
void cgiFreeResources();

// 1 when both texts are equal without regard to the case of ASCII letters, else 0.
[[nodiscard]] int cgiStrEqNc(const char* left, const char* right);
