// Url-encoded data: the input is a query string or a body.

#include "cgi/urlencoded.hpp"

#include "cgi/state.hpp"
#include "fuzz.hpp"
#include "request.hpp"

namespace {

constexpr std::string_view digits = "0123456789abcdef";

// The fields of the request, encoded again with every byte escaped.
std::string encoded_again() {
  std::string encoded;
  const auto append = [&encoded](std::string_view text) {
    for (const char byte : text) {
      const auto code = static_cast<unsigned char>(byte);
      encoded.append({'%', digits[code / 16U], digits[code % 16U]});
    }
  };
  for (const cgiFormEntry* entry = cgiFormEntryFirst; entry != nullptr; entry = entry->next) {
    append(entry->name()[0] != '\0' ? entry->name() : std::string_view{"\0", 1});
    encoded += "=";
    append(entry->value());
    encoded += "&";
  }
  return encoded;
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  require(cgiParseFormInput(text_of(data, size)) == cgiParseSuccess, "every text is decoded");
  check_accessors();
  const std::string again = encoded_again();
  const std::string decoded = take_request();
  require(cgiParseFormInput(again) == cgiParseSuccess, "what was encoded is decoded");
  require(take_request() == decoded, "what was encoded is decoded to the same fields");
  return 0;
}
