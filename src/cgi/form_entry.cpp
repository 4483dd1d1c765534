#include "cgi/form_entry.hpp"

#include <cstdlib>
#include <cstring>
#include <new>
#include <utility>

#include "base/files.hpp"
#include "base/text.hpp"
#include "cgi/state.hpp"
#include "cgi/variables.hpp"

namespace {

// The tail of the list, which makes appending take constant time.
constinit cgiFormEntry* last_entry = nullptr;

// The shared search: the entry it continues with, and the name.
constinit const cgiFormEntry* search_position = nullptr;
constinit const char* search_name = "";

}  // namespace

cgiText cgiCopyText(std::string_view text) {
  cgiText copy{new (std::nothrow) char[text.size() + 1]};
  if (!copy) return copy;
  text.copy(copy.get(), text.size());
  copy[text.size()] = '\0';
  return copy;
}

bool cgiNewEntry::begin(const cgiEntryTexts& texts, std::size_t expected_length) {
  constexpr std::size_t ends = 5;
  const std::size_t lengths = texts.name.size() + texts.fileName.size() + texts.contentType.size() +
                              texts.tfileName.size() + expected_length;
  std::uint32_t name_place = sizeof(cgiFormEntry);
  block_.shrink(0);
  // One allocation for all: the fixed part, the texts with their five terminators, and the value expected.
  return block_.reserve(sizeof(cgiFormEntry) + lengths + ends) &&
         block_.extend(sizeof(cgiFormEntry)).size() == sizeof(cgiFormEntry) &&
         add_text(texts.name, name_place) && add_text(texts.fileName, record_.file_name_place) &&
         add_text(texts.contentType, record_.content_type_place) &&
         add_text(texts.tfileName, record_.temporary_name_place) && place_next_text(record_.value_place);
}

bool cgiNewEntry::place_next_text(std::uint32_t& place) {
  place = static_cast<std::uint32_t>(block_.size());
  return place == block_.size();
}

bool cgiNewEntry::add_text(std::string_view text, std::uint32_t& place) {
  return place_next_text(place) && block_.append_all(text) && block_.append('\0');
}

std::string_view cgiNewEntry::value() const {
  return std::string_view{block_.items().data(), block_.size()}.substr(record_.value_place);
}

cgiParseResultType cgiNewEntry::append_to_list(std::int32_t valueLength) {
  if (!block_.append('\0')) return cgiParseMemory;
  record_.valueLength = valueLength;
  auto* entry = new (block_.take()) cgiFormEntry{record_};
  (cgiFormEntryFirst == nullptr ? cgiFormEntryFirst : last_entry->next) = entry;
  last_entry = entry;
  return cgiParseSuccess;
}

const cgiFormEntry* cgiFindFirstEntry(const char* name) {
  search_position = cgiFormEntryFirst;
  search_name = name;
  return cgiFindNextEntry();
}

const cgiFormEntry* cgiFindNextEntry() {
  while (search_position != nullptr) {
    const cgiFormEntry* entry = std::exchange(search_position, search_position->next);
    if (std::strcmp(entry->name(), search_name) == 0) return entry;
  }
  return nullptr;
}

void cgiFreeResources() {
  while (cgiFormEntryFirst != nullptr) {
    cgiFormEntry* entry = std::exchange(cgiFormEntryFirst, cgiFormEntryFirst->next);
    if (entry->tfileName()[0] != '\0') delete_file(entry->tfileName());
    std::free(entry);
  }
  last_entry = nullptr;
  search_position = nullptr;
  if (cgiRestored != 0) cgiReleaseVariables();
  cgiRestored = 0;
}

void cgiDeleteTemporaryFiles() {
  if (cgiArrivingFile != nullptr) delete_file(cgiArrivingFile);
  for (const cgiFormEntry* entry = cgiFormEntryFirst; entry != nullptr; entry = entry->next) {
    if (entry->tfileName()[0] != '\0') delete_file(entry->tfileName());
  }
}

int cgiStrEqNc(const char* left, const char* right) {
  return equal_no_case(left, right) ? 1 : 0;
}
