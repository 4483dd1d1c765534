// The state of the upload commands.

#pragma once

#include <cstdio>

#include "base/fixed_text.hpp"

// The log of the staging that runs, /www/upload_file.txt; null outside it. Set by stage_uploaded_file.
extern std::FILE* upload_log;

// What the unit's own API service replied in this request, one reply right behind the other, with markers of
// failures; empty at start. Written by send_local_api_command only; what does not fit is cut.
extern fixed_text<4096> api_reply_text;
