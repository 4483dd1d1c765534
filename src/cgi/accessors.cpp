#include "cgi/accessors.hpp"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <limits>
#include <new>
#include <span>

#include "base/growing_array.hpp"
#include "base/text.hpp"
#include "cgi/state.hpp"

namespace {

// Moves past a run of carriage returns and line feeds. Returns the larger of their two counts.
std::ptrdiff_t skip_line_ends(const char*& text) {
  std::ptrdiff_t carriage_returns = 0;
  std::ptrdiff_t line_feeds = 0;
  for (; *text == '\r' || *text == '\n'; ++text) ++(*text == '\r' ? carriage_returns : line_feeds);
  return std::max(carriage_returns, line_feeds);
}

// What a copy does with the line ends of the value.
enum class line_ends { keep, drop };

// Copies the value. Returns false when it did not fit.
bool copy_value(const char* value, line_ends kept, bounded_text& copy) {
  while (*value != '\0') {
    const std::ptrdiff_t run = skip_line_ends(value);
    for (std::ptrdiff_t line_feeds = kept == line_ends::keep ? run : 0; line_feeds > 0; --line_feeds) {
      if (!copy.add('\n')) return false;
    }
    if (*value != '\0' && !copy.add(*value++)) return false;
  }
  return true;
}

// Copies the value of the first field of that name, and picks the result.
cgiFormResultType copy_first(const char* name, line_ends kept, char* result, int max) {
  bounded_text copy{{result, static_cast<std::size_t>(std::max(max, 0))}};
  const cgiFormEntry* entry = cgiFindFirstEntry(name);
  const bool whole = entry == nullptr || copy_value(entry->value(), kept, copy);
  if (entry == nullptr) return cgiFormNotFound;
  if (!whole) return cgiFormTruncated;
  return copy.empty() ? cgiFormEmpty : cgiFormSuccess;
}

std::size_t space_needed(const cgiFormEntry& entry) {
  return std::strlen(entry.value()) + 1;
}

// The whole value as cgiFormString copies it. Null without memory. Line ends only shrink, so the value fits.
char* new_value(const cgiFormEntry& entry) {
  const std::size_t space = space_needed(entry);
  auto* value = new (std::nothrow) char[space];
  if (value == nullptr) return nullptr;
  bounded_text copy{{value, space}};
  static_cast<void>(copy_value(entry.value(), line_ends::keep, copy));
  return value;
}

// An array for that many texts and the null pointer at its end, all null. Null without memory.
char** new_array(std::size_t count) {
  return new (std::nothrow) char* [count + 1] {};
}

// Releases an array that is filled up to the first text without memory.
cgiFormResultType no_memory(char*** array) {
  cgiStringArrayFree(*array);
  *array = nullptr;
  return cgiFormMemory;
}

// A field's name, and its position among all fields.
struct placed_name {
  const char* text;
  std::size_t place;
};

// Moves each different name to the front, in the order of first use. Returns how many there are. Sorts
// instead of comparing each name with each: a request may have a million of them.
//
//     fields    b0 a1 b2 a3        name and position
//     sorted    a1 a3 b0 b2        by name, then position: the first of its name is in front
//     unique    a1 b0
//     by place  b0 a1
std::size_t gather_first_names(std::span<placed_name> names) {
  std::ranges::sort(names, [](const placed_name& left, const placed_name& right) {
    const int difference = std::strcmp(left.text, right.text);
    return difference != 0 ? difference < 0 : left.place < right.place;
  });
  const auto end =
      std::unique(names.begin(), names.end(), [](const placed_name& left, const placed_name& right) {
        return std::strcmp(left.text, right.text) == 0;
      });
  std::sort(names.begin(), end,
            [](const placed_name& left, const placed_name& right) { return left.place < right.place; });
  return static_cast<std::size_t>(end - names.begin());
}

}  // namespace

cgiFormResultType cgiFormString(const char* name, char* result, int max) {
  return copy_first(name, line_ends::keep, result, max);
}

cgiFormResultType cgiFormStringNoNewlines(const char* name, char* result, int max) {
  return copy_first(name, line_ends::drop, result, max);
}

cgiFormResultType cgiFormStringSpaceNeeded(const char* name, int* length) {
  constexpr std::size_t most = std::numeric_limits<int>::max();
  const cgiFormEntry* entry = cgiFindFirstEntry(name);
  *length = entry != nullptr ? static_cast<int>(std::min(space_needed(*entry), most)) : 1;
  return entry != nullptr ? cgiFormSuccess : cgiFormNotFound;
}

cgiFormResultType cgiFormStringMultiple(const char* name, char*** result) {
  std::size_t count = 0;
  for (const cgiFormEntry* entry = cgiFindFirstEntry(name); entry != nullptr; entry = cgiFindNextEntry()) {
    ++count;
  }
  *result = new_array(count);
  if (*result == nullptr) return cgiFormMemory;
  char** value = *result;
  for (const cgiFormEntry* entry = cgiFindFirstEntry(name); entry != nullptr; entry = cgiFindNextEntry()) {
    *value = new_value(*entry);
    if (*value++ == nullptr) return no_memory(result);
  }
  return count > 0 ? cgiFormSuccess : cgiFormNotFound;
}

cgiFormResultType cgiFormEntries(char*** result) {
  *result = nullptr;
  growing_array<placed_name> names;
  for (const cgiFormEntry* entry = cgiFormEntryFirst; entry != nullptr; entry = entry->next) {
    if (!names.append({entry->name(), names.items().size()})) return cgiFormMemory;
  }
  const std::size_t count = gather_first_names(names.items());
  *result = new_array(count);
  if (*result == nullptr) return cgiFormMemory;
  for (std::size_t i = 0; i < count; ++i) {
    (*result)[i] = cgiCopyText(names.items()[i].text).release();
    if ((*result)[i] == nullptr) return no_memory(result);
  }
  return cgiFormSuccess;
}

void cgiStringArrayFree(char** array) {
  if (array == nullptr) return;
  for (char** text = array; *text != nullptr; ++text) delete[] * text;
  delete[] array;
}
