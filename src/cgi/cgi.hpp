// The request layer in one include: all that a CGI program of its own needs. docs/cgi.md tells it in words.

#pragma once

#include "cgi/accessors.hpp"
#include "cgi/capture_file.hpp"
#include "cgi/cookies.hpp"
#include "cgi/entry.hpp"
#include "cgi/escaping.hpp"
#include "cgi/form_choices.hpp"
#include "cgi/form_entry.hpp"
#include "cgi/form_numbers.hpp"
#include "cgi/headers.hpp"
#include "cgi/state.hpp"
#include "cgi/uploaded_files.hpp"
