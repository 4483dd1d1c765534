#include "cgi/form_entry.hpp"

#include <cstring>
#include <new>
#include <utility>

#include "base/files.hpp"
#include "base/text.hpp"
#include "cgi/state.hpp"
#include "cgi/variables.hpp"

namespace {

constinit cgiFormEntry* last_entry = nullptr;

// The shared search: the entry it goes on with, and the name sought.
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

cgiParseResultType cgiAppendEntry(cgiFormEntry&& fields) {
  if (!fields.name || !fields.value || !fields.fileName || !fields.contentType || !fields.tfileName) {
    return cgiParseMemory;
  }
  auto* entry = new (std::nothrow) cgiFormEntry{std::move(fields)};
  if (entry == nullptr) return cgiParseMemory;
  entry->next = nullptr;
  (cgiFormEntryFirst == nullptr ? cgiFormEntryFirst : last_entry->next) = entry;
  last_entry = entry;
  return cgiParseSuccess;
}

cgiParseResultType cgiAppendPlainEntry(cgiText name, cgiText value, std::int32_t valueLength) {
  return cgiAppendEntry({.name = std::move(name),
                         .value = std::move(value),
                         .valueLength = valueLength,
                         .fileName = cgiCopyText({}),
                         .contentType = cgiCopyText({}),
                         .tfileName = cgiCopyText({}),
                         .next = nullptr});
}

const cgiFormEntry* cgiFindFirstEntry(const char* name) {
  search_position = cgiFormEntryFirst;
  search_name = name;
  return cgiFindNextEntry();
}

const cgiFormEntry* cgiFindNextEntry() {
  while (search_position != nullptr) {
    const cgiFormEntry* entry = std::exchange(search_position, search_position->next);
    if (std::strcmp(entry->name.get(), search_name) == 0) return entry;
  }
  return nullptr;
}

void cgiFreeResources() {
  while (cgiFormEntryFirst != nullptr) {
    const std::unique_ptr<cgiFormEntry> entry{cgiFormEntryFirst};
    cgiFormEntryFirst = entry->next;
    if (entry->tfileName[0] != '\0') delete_file(entry->tfileName.get());
  }
  last_entry = nullptr;
  search_position = nullptr;
  if (cgiRestored != 0) cgiReleaseVariables();
  cgiRestored = 0;
}

int cgiStrEqNc(const char* left, const char* right) {
  return equal_no_case(left, right) ? 1 : 0;
}
