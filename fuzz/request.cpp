#include "request.hpp"

#include <algorithm>
#include <array>
#include <cstring>
#include <filesystem>
#include <vector>

#include "cgi/cgi.hpp"
#include "fuzz.hpp"

namespace {

constexpr int most_names = 16;

// Calls the accessor with a buffer of exactly `max` bytes, so that the sanitizer finds a write beyond it.
std::string copy_of(text_reader read, const char* name, std::size_t max, cgiFormResultType& result) {
  std::vector<char> buffer(max);
  result = read(name, buffer.data(), static_cast<int>(max));
  if (max == 0) return {};
  const auto end = std::ranges::find(buffer, '\0');
  require(end != buffer.end(), "a copy is terminated");
  return {buffer.begin(), end};
}

void check_numbers(const char* name) {
  int number = 0;
  double real = 0;
  const bool is_number = cgiFormIntegerBounded(name, &number, -9, 9, 77) == cgiFormSuccess;
  require(number == 77 || (number >= -9 && number <= 9), "a bounded number lies within its bounds");
  require(!is_number || number != 77, "a number that was read is no default");
  cgiFormDouble(name, &real, 0);
  cgiFormDoubleBounded(name, &real, -9, 9, 77);
}

// Checks the values of a name. Returns the number of its fields.
std::size_t check_values(const char* name) {
  int space = 0;
  require(cgiFormStringSpaceNeeded(name, &space) == cgiFormSuccess, "a name of the list is found");
  check_limits(cgiFormString, name, static_cast<std::size_t>(space));
  check_limits(cgiFormStringNoNewlines, name, static_cast<std::size_t>(space));
  char** values = nullptr;
  require(cgiFormStringMultiple(name, &values) == cgiFormSuccess, "a name of the list has values");
  std::size_t count = 0;
  while (values[count] != nullptr) ++count;
  std::vector<int> flags(count);
  int invalid = 0;
  cgiFormSelectMultiple(name, values, static_cast<int>(count), flags.data(), &invalid);
  cgiFormSelectSingle(name, values, static_cast<int>(count), &invalid, -1);
  cgiStringArrayFree(values);
  return count;
}

void check_upload(const char* name) {
  int size = -1;
  const bool is_upload = cgiFormFileSize(name, &size) == cgiFormSuccess;
  const cgiFormEntry* entry = cgiFindFirstEntry(name);
  check_limits(cgiFormFileName, name, std::strlen(entry->fileName()) + 1);
  check_limits(cgiFormFileContentType, name, std::strlen(entry->contentType()) + 1);
  cgiFilePtr file = nullptr;
  require((cgiFormFileOpen(name, &file) == cgiFormSuccess) == is_upload, "every upload can be opened");
  std::array<char, 100> chunk;
  int total = 0;
  int got = 0;
  while (cgiFormFileRead(file, chunk.data(), chunk.size(), &got) == cgiFormSuccess) total += got;
  cgiFormFileClose(file);
  require(total == size, "an upload is as long as it says");
}

}  // namespace

std::string take_request() {
  std::string request;
  for (const cgiFormEntry* entry = cgiFormEntryFirst; entry != nullptr; entry = entry->next) {
    const bool is_upload = entry->tfileName()[0] != '\0';
    for (const char* text : {entry->name(), entry->value(), entry->fileName(), entry->contentType()}) {
      request.append(text).append("|");
    }
    request += std::to_string(entry->valueLength) + "|";
    if (is_upload) request += read_file(entry->tfileName());
    request += is_upload ? "|upload\n" : "|field\n";
  }
  cgiFreeResources();
  require(std::filesystem::is_empty("/dev/shm"), "no temporary file is left");
  return request;
}

void check_limits(text_reader read, const char* name, std::size_t enough) {
  cgiFormResultType result = cgiFormSuccess;
  const std::string whole = copy_of(read, name, enough, result);
  require(result != cgiFormTruncated, "a copy with enough room is whole");
  for (const std::size_t max : {std::size_t{0}, std::size_t{1}, whole.size(), whole.size() + 1}) {
    const std::string cut = copy_of(read, name, max, result);
    require(cut == whole.substr(0, max > 0 ? max - 1 : 0), "a cut copy is the beginning of the whole one");
    require((result == cgiFormTruncated) == (cut.size() < whole.size()), "a copy tells when it is cut");
  }
}

void check_accessors() {
  std::size_t entries = 0;
  for (const cgiFormEntry* entry = cgiFormEntryFirst; entry != nullptr; entry = entry->next) ++entries;
  char** names = nullptr;
  require(cgiFormEntries(&names) == cgiFormSuccess, "names can always be listed");
  std::size_t known = 0;
  int count = 0;
  for (; names[count] != nullptr && count < most_names; ++count) {
    known += check_values(names[count]);
    check_numbers(names[count]);
    check_upload(names[count]);
  }
  require(names[count] != nullptr || known == entries, "every field is found by its name");
  cgiStringArrayFree(names);
}
