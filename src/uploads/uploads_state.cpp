#include "uploads/uploads_state.hpp"

constinit std::FILE* upload_log = nullptr;
constinit fixed_text<4096> api_reply_text;
