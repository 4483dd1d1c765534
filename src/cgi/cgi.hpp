// The whole request layer in one include, for a CGI program of its own. docs/cgi.md describes it.

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
