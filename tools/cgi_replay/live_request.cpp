#include "live_request.hpp"

#include <cstdlib>
#include <optional>
#include <string_view>

#include "base/files.hpp"
#include "base/text.hpp"
#include "cgi/form_entry.hpp"
#include "cgi/state.hpp"
#include "cgi/variables.hpp"

namespace {

enum class body_kind { none, url_encoded, multipart };

body_kind kind_of_body() {
  if (!equal_no_case(cgiRequestMethod, "post")) return body_kind::none;
  if (equal_no_case(cgiContentType, "application/x-www-form-urlencoded")) return body_kind::url_encoded;
  return equal_no_case(cgiContentType, "multipart/form-data") ? body_kind::multipart : body_kind::none;
}

// Escapes every byte but letters, digits and "-._".
std::string url_encoded(std::string_view text) {
  constexpr std::string_view plain = "-._0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz";
  constexpr std::string_view digits = "0123456789ABCDEF";
  std::string encoded;
  for (const char byte : text) {
    if (plain.find(byte) != std::string_view::npos) {
      encoded += byte;
    } else {
      const auto code = static_cast<unsigned char>(byte);
      encoded.append({'%', digits[code / 16U], digits[code % 16U]});
    }
  }
  return encoded;
}

std::string write_url_encoded(std::FILE* body) {
  for (const cgiFormEntry* entry = cgiFormEntryFirst; entry != nullptr; entry = entry->next) {
    const bool is_upload = entry->fileName()[0] != '\0' || entry->tfileName()[0] != '\0';
    if (is_upload) return "an upload in a url-encoded request";
    // An empty name would end decoding. "%00" is decoded to an empty name that does not.
    const std::string name = entry->name()[0] != '\0' ? url_encoded(entry->name()) : "%00";
    std::fprintf(body, "%s=%s%s", name.c_str(), url_encoded(entry->value()).c_str(),
                 entry->next != nullptr ? "&" : "");
  }
  return {};
}

// The text for a part's header, quoted only where it must be: a header line has no room to spare for a text
// that filled it before. Nothing when the text would not be decoded to itself.
std::optional<std::string> header_text(std::string_view text) {
  if (text.find_first_of("\r\n") != std::string_view::npos) return std::nullopt;
  const bool quoted = text.starts_with('"') || text.find(';') != std::string_view::npos ||
                      (!text.empty() && is_space(text[0]));
  if (!quoted) return std::string{text};
  if (text.find('"') != std::string_view::npos) return std::nullopt;
  return "\"" + std::string{text} + "\"";
}

// True when the value fits a header line; `last_text` is its end. A value that was cut when it arrived may
// have lost its closing quote, and then it must lose it again.
bool fits_line(std::string& value, std::string_view last_text) {
  constexpr std::size_t longest_value = 1023;
  if (value.size() == longest_value + 1 && last_text.starts_with('"')) value.pop_back();
  return value.size() <= longest_value;
}

// The headers of a field's part. Nothing when no headers can be decoded to its texts.
std::optional<std::string> part_headers(const cgiFormEntry& entry) {
  const auto name = header_text(entry.name());
  const auto file_name = header_text(entry.fileName());
  auto type = header_text(entry.contentType());
  if (!name || !file_name || !type) return std::nullopt;
  std::string disposition = "form-data";
  if (!name->empty()) disposition += ";name=" + *name;
  if (!file_name->empty()) disposition += ";filename=" + *file_name;
  if (!fits_line(disposition, file_name->empty() ? *name : *file_name) || !fits_line(*type, *type)) {
    return std::nullopt;
  }
  const std::string type_line = type->empty() ? "" : "Content-Type: " + *type + "\r\n";
  return "Content-Disposition: " + disposition + "\r\n" + type_line + "\r\n";
}

// Writes a part. Returns the problem, or an empty text.
std::string write_part(std::FILE* body, const cgiFormEntry& entry) {
  const bool named_file = entry.fileName()[0] != '\0';
  if (named_file != (entry.tfileName()[0] != '\0')) return "an upload without its content or its name";
  const auto headers = part_headers(entry);
  if (!headers) return "a field whose texts no header can hold";
  std::fputs(headers->c_str(), body);
  if (!named_file) {
    std::fputs(entry.value(), body);
    return {};
  }
  const unique_file content = open_for_reading(entry.tfileName());
  if (!content) return "an upload that cannot be read";
  copy_stream(content.get(), body);
  return {};
}

std::string write_multipart(std::FILE* body, const std::string& boundary) {
  std::fprintf(body, "--%s", boundary.c_str());
  for (const cgiFormEntry* entry = cgiFormEntryFirst; entry != nullptr; entry = entry->next) {
    std::fputs("\r\n", body);
    std::string problem = write_part(body, *entry);
    if (!problem.empty()) return problem;
    std::fprintf(body, "\r\n--%s", boundary.c_str());
  }
  std::fputs("--\r\n", body);
  return {};
}

void set_variable(const char* name, const std::string& value) {
  if (value.empty()) {
    unsetenv(name);
  } else {
    setenv(name, value.c_str(), 1);
  }
}

}  // namespace

std::string write_live_body(std::FILE* body, const std::string& boundary) {
  std::string problem;
  switch (kind_of_body()) {
    case body_kind::url_encoded:
      problem = write_url_encoded(body);
      break;
    case body_kind::multipart:
      problem = write_multipart(body, boundary);
      break;
    case body_kind::none:
      break;
  }
  if (!problem.empty()) return problem;
  return std::fflush(body) == 0 && std::ferror(body) == 0 ? "" : "a body that cannot be written";
}

void set_live_environment(std::FILE* body, const std::string& boundary) {
  for (const cgiVariable& variable : cgiVariables) set_variable(variable.name, *variable.value);
  const body_kind kind = kind_of_body();
  if (kind == body_kind::multipart) {
    set_variable("CONTENT_TYPE", std::string{cgiContentType} + "; boundary=" + boundary);
  }
  const auto length = kind == body_kind::none ? cgiContentLength : std::ftell(body);
  set_variable("CONTENT_LENGTH", std::to_string(length));
}
