#include "cgi/form_choices.hpp"

#include <algorithm>
#include <cstring>

namespace {

// The index of the choice that equals the field's value, or `count` when none does.
int find_choice(const cgiFormEntry& entry, const char* const* choices, int count) {
  int index = 0;
  while (index < count && std::strcmp(choices[index], entry.value()) != 0) ++index;
  return index;
}

}  // namespace

cgiFormResultType cgiFormSelectSingle(const char* name, const char* const* choices, int count, int* result,
                                      int defaultValue) {
  *result = defaultValue;
  const cgiFormEntry* entry = cgiFindFirstEntry(name);
  if (entry == nullptr) return cgiFormNotFound;
  const int index = find_choice(*entry, choices, count);
  if (index >= count) return cgiFormNoSuchChoice;
  *result = index;
  return cgiFormSuccess;
}

cgiFormResultType cgiFormRadio(const char* name, const char* const* choices, int count, int* result,
                               int defaultValue) {
  return cgiFormSelectSingle(name, choices, count, result, defaultValue);
}

cgiFormResultType cgiFormSelectMultiple(const char* name, const char* const* choices, int count, int* flags,
                                        int* invalid) {
  std::fill_n(flags, count, 0);
  *invalid = 0;
  bool chosen = false;
  for (const cgiFormEntry* entry = cgiFindFirstEntry(name); entry != nullptr; entry = cgiFindNextEntry()) {
    const int index = find_choice(*entry, choices, count);
    if (index >= count) {
      ++*invalid;
      continue;
    }
    flags[index] = 1;
    chosen = true;
  }
  return chosen ? cgiFormSuccess : cgiFormNotFound;
}

cgiFormResultType cgiFormCheckboxMultiple(const char* name, const char* const* choices, int count, int* flags,
                                          int* invalid) {
  return cgiFormSelectMultiple(name, choices, count, flags, invalid);
}

cgiFormResultType cgiFormCheckboxSingle(const char* name) {
  return cgiFindFirstEntry(name) != nullptr ? cgiFormSuccess : cgiFormNotFound;
}
