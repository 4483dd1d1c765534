// Form choices: compare the values of form fields with a list of choices, byte for byte. The result is an
// index into that list; of equal choices the first counts.

#pragma once

#include "cgi/form_entry.hpp"

// Stores the index of the choice that equals the value of the first field of that name. Returns
// cgiFormSuccess. Stores the default and returns cgiFormNoSuchChoice or cgiFormNotFound.
cgiFormResultType cgiFormSelectSingle(const char* name, const char* const* choices, int count, int* result,
                                      int defaultValue);

// The same for a group of radio buttons.
cgiFormResultType cgiFormRadio(const char* name, const char* const* choices, int count, int* result,
                               int defaultValue);

// Sets the flag of every choice that equals the value of a field of that name to 1 and all others to 0.
// Stores in `invalid` how many fields equal no choice. `flags` has `count` items. Returns cgiFormSuccess, or
// cgiFormNotFound when no field equals a choice.
cgiFormResultType cgiFormSelectMultiple(const char* name, const char* const* choices, int count, int* flags,
                                        int* invalid);

// The same for a group of check boxes.
cgiFormResultType cgiFormCheckboxMultiple(const char* name, const char* const* choices, int count, int* flags,
                                          int* invalid);

// Returns cgiFormSuccess when there is a field of that name, whatever its value, else cgiFormNotFound.
[[nodiscard]] cgiFormResultType cgiFormCheckboxSingle(const char* name);
