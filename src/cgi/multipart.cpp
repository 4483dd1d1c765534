#include "cgi/multipart.hpp"

#include <array>
#include <cstdio>
#include <memory>
#include <new>
#include <string_view>

#include "base/files.hpp"
#include "base/fixed_text.hpp"
#include "base/handles.hpp"
#include "base/shell.hpp"
#include "base/text.hpp"
#include "cgi/boundary_search.hpp"
#include "cgi/header_lines.hpp"
#include "cgi/state.hpp"

namespace {

constexpr std::size_t part_text_size = 1024;
constexpr std::size_t first_value_size = 31;
constexpr std::int32_t firmware_command_length = 15;  // of UPDATE_FIRMWARE

// The test before each part: true when the body has ended or "--" closes it.
bool body_ends(cgiBodyStream& stream) {
  std::array<char, 2> bytes;
  if (cgiBodyRead(stream, bytes) < bytes.size()) return true;
  const std::string_view text{bytes.data(), bytes.size()};
  if (text == "--") return true;
  cgiBodyPutBack(stream, text);
  return false;
}

// What the headers of one part contain.
struct part_headers {
  fixed_text<part_text_size> disposition;
  fixed_text<part_text_size> name;
  fixed_text<part_text_size> file_name;
  fixed_text<part_text_size> content_type;
};

cgiEntryTexts texts_of(const part_headers& part, std::string_view temporary_name) {
  return {.name = part.name.view(),
          .fileName = part.file_name.view(),
          .contentType = part.content_type.view(),
          .tfileName = temporary_name};
}

// Reads the headers up to the empty line after them. Headers other than these two are ignored. Quirk: any
// line without a name or a value ends them, too, and the lines after it belong to the body.
void read_headers(cgiBodyStream& stream, part_headers& part) {
  fixed_text<part_text_size> name;
  fixed_text<part_text_size> value;
  while (cgiReadHeaderLine(stream, name.buffer(), value.buffer()) == cgiParseSuccess) {
    if (equal_no_case(name.view(), "Content-Disposition")) {
      const auto parameters = std::to_array<cgiHeaderParameter>(
          {{"name", part.name.buffer()}, {"filename", part.file_name.buffer()}});
      cgiSplitHeaderValue(value.view(), part.disposition.buffer(), parameters);
    } else if (equal_no_case(name.view(), "Content-Type")) {
      cgiSplitHeaderValue(value.view(), part.content_type.buffer(), {});
    }
  }
}

// Reads the body of a part. When it is as long as the command UPDATE_FIRMWARE, stops the services that an
// update needs out of the way, while the image is still arriving. Quirk: only the length is compared, so any
// field or file of 15 bytes does it too.
cgiParseResultType read_body(cgiBodyStream& stream, const cgiBodyOutput& output, std::int32_t& length) {
  const cgiParseResultType result = cgiReadToBoundary(stream, cgiBoundary::next, output, length);
  if (length == firmware_command_length) {
    shell_run("killall thumber vapi soip2 kest node_responser > /dev/null 2>&1 &");
  }
  return result;
}

cgiParseResultType read_plain_field(cgiBodyStream& stream, const part_headers& part) {
  cgiNewEntry entry;
  if (!entry.begin(texts_of(part, {}), first_value_size)) return cgiParseMemory;
  std::int32_t length = 0;
  const cgiParseResultType result = read_body(stream, {.memory = &entry.block()}, length);
  return result == cgiParseSuccess ? entry.append_to_list(length) : result;
}

cgiParseResultType read_into(temp_file& temporary, cgiBodyStream& stream, const part_headers& part) {
  cgiNewEntry entry;
  if (!entry.begin(texts_of(part, temporary.path().view()), 0)) return cgiParseMemory;
  // When the file cannot be opened again it stays empty, and the content goes to memory like a plain field's.
  unique_file content = open_for_update(temporary.path().c_str());
  std::int32_t length = 0;
  cgiParseResultType result = read_body(stream, {.file = content.get(), .memory = &entry.block()}, length);
  if (content && std::fclose(content.release()) != 0 && result == cgiParseSuccess) result = cgiParseIO;
  if (result == cgiParseSuccess) result = entry.append_to_list(length);
  if (result == cgiParseSuccess) temporary.keep();
  return result;
}

cgiParseResultType read_upload(cgiBodyStream& stream, const part_headers& part) {
  temp_file temporary{cgiTemporaryFiles};
  if (temporary.path().empty()) return cgiParseIO;
  // The file is not in the list yet: our abort handler must find it to delete it.
  cgiArrivingFile = temporary.path().c_str();
  const cgiParseResultType result = read_into(temporary, stream, part);
  cgiArrivingFile = nullptr;
  return result;
}

// Reads one part: a plain field, or an upload when it has a file name. Skips a part that is not form-data.
cgiParseResultType read_part(cgiBodyStream& stream) {
  part_headers part;
  read_headers(stream, part);
  if (!equal_no_case(part.disposition.view(), "form-data")) {
    std::int32_t length = 0;
    return cgiReadToBoundary(stream, cgiBoundary::next, {}, length);
  }
  return part.file_name.empty() ? read_plain_field(stream, part) : read_upload(stream, part);
}

}  // namespace

cgiParseResultType cgiParsePostMultipartInput() {
  // On the heap: some servers limit the stack.
  const std::unique_ptr<cgiBodyStream> stream{new (std::nothrow) cgiBodyStream{}};
  if (!stream) return cgiParseMemory;
  std::int32_t length = 0;
  switch (cgiReadToBoundary(*stream, cgiBoundary::first, {}, length)) {
    case cgiParseIO:
      return cgiParseSuccess;
    case cgiParseMemory:
      return cgiParseMemory;
    case cgiParseSuccess:
      break;
  }
  while (!body_ends(*stream)) {
    const cgiParseResultType result = read_part(*stream);
    if (result != cgiParseSuccess) return result;
  }
  return cgiParseSuccess;
}
