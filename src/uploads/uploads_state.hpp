// The state of the upload commands.

#pragma once

#include <cstdio>

#include "base/fixed_text.hpp"

// The log of the current staging, /www/upload_file.txt. Null at other times. Set by stage_uploaded_file.
extern std::FILE* upload_log;

// The replies of the unit's own API service in this request, joined, with markers for failures. Empty at
// start. Written by send_local_api_command; what does not fit is cut.
extern fixed_text<4096> api_reply_text;
