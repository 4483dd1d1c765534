// Form choices: compare form fields with a list of choices, byte for byte. A choice is known by its index in
// the list; of equal choices the first counts.

#pragma once

#include "cgi/form_entry.hpp"

// Stores the index of the choice that the first field of that name holds.
// Returns cgiFormSuccess, or with the default cgiFormNoSuchChoice, cgiFormNotFound.
cgiFormResultType cgiFormSelectSingle(const char* name, const char* const* choices, int count, int* result,
                                      int defaultValue);

// The same for a group of radio buttons.
cgiFormResultType cgiFormRadio(const char* name, const char* const* choices, int count, int* result,
                               int defaultValue);

// Sets the flag of every choice that some field of that name holds to 1, the others to 0, and counts the
// fields that hold none in `invalid`. Returns cgiFormSuccess, or cgiFormNotFound when no field held a choice.
cgiFormResultType cgiFormSelectMultiple(const char* name, const char* const* choices, int count, int* flags,
                                        int* invalid);

// The same for a group of check boxes.
cgiFormResultType cgiFormCheckboxMultiple(const char* name, const char* const* choices, int count, int* flags,
                                          int* invalid);

// Returns cgiFormSuccess when there is a field of that name, whatever it holds, else cgiFormNotFound.
[[nodiscard]] cgiFormResultType cgiFormCheckboxSingle(const char* name);
