#include "cgi/multipart.hpp"

#include <algorithm>
#include <array>
#include <cstring>
#include <memory>
#include <new>
#include <utility>

#include "base/files.hpp"
#include "base/fixed_text.hpp"
#include "base/handles.hpp"
#include "base/shell.hpp"
#include "base/text.hpp"
#include "cgi/state.hpp"

namespace {

constexpr std::size_t part_text_size = 1024;
constexpr std::int32_t firmware_command_length = 15;  // of UPDATE_FIRMWARE

// The end of a text that is written into a buffer, byte by byte; what does not fit is dropped.
class text_writer {
 public:
  explicit text_writer(std::span<char> buffer) : buffer_(buffer) {}

  void add(char byte) {
    if (length_ + 1 < buffer_.size()) buffer_[length_++] = byte;
  }
  void terminate() {
    if (!buffer_.empty()) buffer_[length_] = '\0';
  }
  [[nodiscard]] bool empty() const { return length_ == 0; }

 private:
  std::span<char> buffer_;
  std::size_t length_ = 0;
};

void copy_cut(std::string_view text, std::span<char> buffer) {
  if (buffer.empty()) return;
  text = text.substr(0, buffer.size() - 1);
  text.copy(buffer.data(), text.size());
  buffer[text.size()] = '\0';
}

bool read_byte(cgiBodyStream& stream, char& byte) {
  return cgiBodyRead(stream, {&byte, 1}) == 1;
}

void put_back(cgiBodyStream& stream, char byte) {
  cgiBodyPutBack(stream, {&byte, 1});
}

void skip_line_feed(cgiBodyStream& stream) {
  char byte = '\0';
  if (read_byte(stream, byte) && byte != '\n') put_back(stream, byte);
}

void skip_space_of(cgiBodyStream& stream) {
  char byte = '\0';
  while (read_byte(stream, byte)) {
    if (is_space(byte)) continue;
    put_back(stream, byte);
    return;
  }
}

bool is_letter_or_digit(char character) {
  const char lower = to_lower(character);
  return (lower >= 'a' && lower <= 'z') || (lower >= '0' && lower <= '9');
}

// Takes the next text of a header value, quoted or not, off its front; what is left begins with a ";" or is
// empty.
std::string_view take_header_text(std::string_view& rest) {
  const bool quoted = rest.starts_with('"');
  if (quoted) rest.remove_prefix(1);
  const std::string_view text = rest.substr(0, rest.find(quoted ? '"' : ';'));
  rest.remove_prefix(text.size());
  rest.remove_prefix(std::min(rest.find(';'), rest.size()));
  return text;
}

std::string_view take_parameter_name(std::string_view& rest) {
  const auto* end = std::ranges::find_if_not(rest, is_letter_or_digit);
  const std::string_view name = rest.substr(0, static_cast<std::size_t>(end - rest.begin()));
  rest.remove_prefix(name.size());
  return name.substr(0, part_text_size - 1);
}

// Takes what stands in front of a boundary: into the file, into growing memory, or nowhere.
class body_writer {
 public:
  explicit body_writer(const cgiBodyOutput& output) : output_(output) {
    if (in_memory()) reserve(first_memory_size);
  }

  void write(std::string_view bytes) {
    if (result_ != cgiParseSuccess || bytes.empty()) return;
    if (output_.file != nullptr) {
      // A full disk must not pass for a whole file.
      if (std::fwrite(bytes.data(), 1, bytes.size(), output_.file) != bytes.size()) result_ = cgiParseIO;
    } else if (in_memory()) {
      while (length_ + bytes.size() >= size_ && result_ == cgiParseSuccess) reserve(size_ * 2);
      if (result_ == cgiParseSuccess) bytes.copy(memory_.get() + length_, bytes.size());
    } else {
      return;
    }
    length_ += bytes.size();
  }

  // cgiParseSuccess until something could not be written.
  [[nodiscard]] cgiParseResultType result() const { return result_; }

  // Hands over what was written; a failure hands over nothing.
  cgiParseResultType finish(std::int32_t& length) {
    if (output_.file != nullptr && std::fflush(output_.file) != 0) result_ = cgiParseIO;
    if (result_ != cgiParseSuccess) return result_;
    if (in_memory()) {
      memory_[length_] = '\0';
      if (cgiText exact = cgiCopyText({memory_.get(), length_})) memory_ = std::move(exact);
      *output_.memory = std::move(memory_);
    }
    length = static_cast<std::int32_t>(length_);
    return cgiParseSuccess;
  }

 private:
  static constexpr std::size_t first_memory_size = 256;

  [[nodiscard]] bool in_memory() const { return output_.file == nullptr && output_.memory != nullptr; }

  void reserve(std::size_t size) {
    cgiText larger{new (std::nothrow) char[size]};
    if (!larger) {
      result_ = cgiParseMemory;
      return;
    }
    if (length_ > 0) std::memcpy(larger.get(), memory_.get(), length_);
    memory_ = std::move(larger);
    size_ = size;
  }

  cgiBodyOutput output_;
  cgiText memory_;
  std::size_t size_ = 0;
  std::size_t length_ = 0;
  cgiParseResultType result_ = cgiParseSuccess;
};

enum class search_step { found, go_on, ended };

// Takes the bytes that the pattern begins with off the stream, as far as both agree. Returns how many.
std::size_t take_matching(cgiBodyStream& stream, std::string_view pattern) {
  std::size_t matched = 0;
  while (matched < pattern.size()) {
    const std::string_view wanted = pattern.substr(matched);
    const std::string_view bytes = cgiBodyAtHand(stream).substr(0, wanted.size());
    if (bytes.empty()) break;
    const auto differs = std::ranges::mismatch(bytes, wanted).in1;
    const auto equal = static_cast<std::size_t>(differs - bytes.begin());
    cgiBodySkip(stream, equal);
    matched += equal;
    if (equal < bytes.size()) break;
  }
  return matched;
}

// Compares what comes next with the pattern. When they differ, one byte goes to the output and the others are
// put back, the one that differed at the end. Those put back while older ones still wait come behind these: a
// preamble that nearly holds the first boundary is searched in that order, and a boundary that only the order
// of the input shows is not seen.
search_step match_here(cgiBodyStream& stream, std::string_view pattern, body_writer& output) {
  const std::size_t matched = take_matching(stream, pattern);
  if (matched == pattern.size()) return search_step::found;
  char byte = '\0';
  if (!read_byte(stream, byte)) return search_step::ended;
  if (matched == 0) {
    output.write({&byte, 1});
    return search_step::go_on;
  }
  output.write(pattern.substr(0, 1));
  cgiBodyPutBack(stream, pattern.substr(1, matched - 1));
  put_back(stream, byte);
  return search_step::go_on;
}

// Passes the next bytes at hand on to the output.
void pass_on(cgiBodyStream& stream, std::size_t count, body_writer& output) {
  output.write(cgiBodyAtHand(stream).substr(0, count));
  cgiBodySkip(stream, count);
}

// The search for the first boundary while nothing is put back: passes on, in one go, what match_here would pass
// on byte by byte. The run of equal bytes that the pattern begins with decides: a shorter run begins no boundary;
// of a longer one only the end can, and only in front of the right byte.
search_step search_first(cgiBodyStream& stream, std::string_view pattern, body_writer& output) {
  const std::string_view bytes = cgiBodyAtHand(stream);
  if (bytes.empty()) return search_step::ended;
  const std::size_t wanted_run = std::min(pattern.find_first_not_of(pattern[0]), pattern.size());
  const bool only_run = wanted_run == pattern.size();
  const std::size_t start = std::min(bytes.find(pattern[0]), bytes.size());
  const std::size_t end = std::min(bytes.find_first_not_of(pattern[0], start), bytes.size());
  const std::size_t run = end - start;
  const bool long_enough = run >= wanted_run;
  if (long_enough && (only_run || (end < bytes.size() && bytes[end] == pattern[wanted_run]))) {
    pass_on(stream, only_run ? start : end - wanted_run, output);
    return match_here(stream, pattern, output);
  }
  const bool run_may_go_on = end == bytes.size();
  pass_on(stream, run_may_go_on ? end - std::min(run, wanted_run) : end, output);
  return !run_may_go_on || cgiBodyReadMore(stream) ? search_step::go_on : search_step::ended;
}

// The search for a later boundary while nothing is put back. Its first byte, a carriage return, stands nowhere
// else in it, so the order of what match_here puts back never matters: any exact search gives the same.
search_step search_next(cgiBodyStream& stream, std::string_view pattern, body_writer& output) {
  const std::string_view bytes = cgiBodyAtHand(stream);
  if (bytes.empty()) return search_step::ended;
  const void* found = memmem(bytes.data(), bytes.size(), pattern.data(), pattern.size());
  if (found != nullptr) {
    pass_on(stream, static_cast<std::size_t>(static_cast<const char*>(found) - bytes.data()), output);
    cgiBodySkip(stream, pattern.size());
    return search_step::found;
  }
  // A boundary may have begun in the last bytes.
  if (bytes.size() >= pattern.size()) pass_on(stream, bytes.size() - pattern.size() + 1, output);
  return cgiBodyReadMore(stream) ? search_step::go_on : search_step::ended;
}

cgiParseResultType find_boundary(cgiBodyStream& stream, cgiBoundary which, body_writer& output) {
  static fixed_text<part_text_size> text;
  text.print("\r\n--%s", cgiMultipartBoundary);
  const bool first = which == cgiBoundary::first;
  const std::string_view pattern = text.view().substr(first ? 2 : 0);
  search_step step = search_step::go_on;
  while (step == search_step::go_on && output.result() == cgiParseSuccess) {
    if (cgiBodyHasPutBack(stream)) {
      step = match_here(stream, pattern, output);
    } else {
      step = first ? search_first(stream, pattern, output) : search_next(stream, pattern, output);
    }
  }
  if (output.result() != cgiParseSuccess) return output.result();
  return step == search_step::found ? cgiParseSuccess : cgiParseIO;
}

// The two bytes behind a boundary: a line end, or the start of the closing mark, which is left to the end test.
cgiParseResultType take_boundary_end(cgiBodyStream& stream) {
  std::array<char, 2> bytes;
  if (cgiBodyRead(stream, bytes) < bytes.size()) return cgiParseIO;
  if (bytes[0] == '-') cgiBodyPutBack(stream, {bytes.data(), bytes.size()});
  return cgiParseSuccess;
}

// The end test in front of each part: the body is at its end, or says so.
bool body_ends(cgiBodyStream& stream) {
  std::array<char, 2> bytes;
  if (cgiBodyRead(stream, bytes) < bytes.size()) return true;
  const std::string_view text{bytes.data(), bytes.size()};
  if (text == "--") return true;
  cgiBodyPutBack(stream, text);
  return false;
}

// What the headers of one part say.
struct part_headers {
  fixed_text<part_text_size> disposition;
  fixed_text<part_text_size> name;
  fixed_text<part_text_size> file_name;
  fixed_text<part_text_size> content_type;
};

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

// Reads the body of a field. When it has the length of the command for a firmware update, the services that an
// update needs out of the way are stopped while the image is still arriving; the content is not looked at, so
// any field or file of that length does it.
cgiParseResultType read_body(cgiBodyStream& stream, const cgiBodyOutput& output, std::int32_t& length) {
  const cgiParseResultType result = cgiReadToBoundary(stream, cgiBoundary::next, output, length);
  if (length == firmware_command_length) {
    shell_run("killall thumber vapi soip2 kest node_responser > /dev/null 2>&1 &");
  }
  return result;
}

cgiParseResultType append_field(const part_headers& part, cgiText value, std::int32_t length,
                                std::string_view temporary_name) {
  return cgiAppendEntry({.name = cgiCopyText(part.name.view()),
                         .value = std::move(value),
                         .valueLength = length,
                         .fileName = cgiCopyText(part.file_name.view()),
                         .contentType = cgiCopyText(part.content_type.view()),
                         .tfileName = cgiCopyText(temporary_name),
                         .next = nullptr});
}

cgiParseResultType read_plain_field(cgiBodyStream& stream, const part_headers& part) {
  cgiText value;
  std::int32_t length = 0;
  const cgiParseResultType result = read_body(stream, {.memory = &value}, length);
  if (result != cgiParseSuccess) return result;
  return append_field(part, std::move(value), length, {});
}

cgiParseResultType read_upload(cgiBodyStream& stream, const part_headers& part) {
  temp_file temporary{cgiTemporaryFiles};
  if (temporary.path().empty()) return cgiParseIO;
  // One that cannot be opened again stays empty, and the content goes to memory as that of a plain field.
  unique_file content = open_for_update(temporary.path().c_str());
  cgiText value;
  std::int32_t length = 0;
  cgiParseResultType result = read_body(stream, {.file = content.get(), .memory = &value}, length);
  if (content && std::fclose(content.release()) != 0 && result == cgiParseSuccess) result = cgiParseIO;
  if (result != cgiParseSuccess) return result;

  if (!value) value = cgiCopyText({});
  result = append_field(part, std::move(value), length, temporary.path().view());
  if (result == cgiParseSuccess) temporary.keep();
  return result;
}

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

cgiParseResultType cgiReadHeaderLine(cgiBodyStream& stream, std::span<char> name, std::span<char> value) {
  text_writer to_name{name};
  text_writer to_value{value};
  bool in_value = false;
  bool colon_seen = false;
  char byte = '\0';
  while (read_byte(stream, byte) && byte != '\n') {
    if (byte == '\r') {
      skip_line_feed(stream);
      break;
    }
    if (in_value) {
      to_value.add(byte);
    } else if (byte == ':' && !to_name.empty() && !colon_seen) {
      in_value = true;
      skip_space_of(stream);
    } else if (!is_space(byte)) {
      // A line that begins with a ":" has no value: every ":" of it belongs to the name.
      colon_seen = colon_seen || byte == ':';
      to_name.add(byte);
    }
  }
  to_name.terminate();
  to_value.terminate();
  return to_name.empty() || to_value.empty() ? cgiParseIO : cgiParseSuccess;
}

void cgiSplitHeaderValue(std::string_view header, std::span<char> main,
                         std::span<const cgiHeaderParameter> parameters) {
  for (const cgiHeaderParameter& parameter : parameters) copy_cut({}, parameter.value);
  std::string_view rest = skip_space(header);
  copy_cut(take_header_text(rest), main);
  while (!rest.empty()) {
    rest = skip_space(rest.substr(1));
    const std::string_view name = take_parameter_name(rest);
    rest = skip_space(rest);
    if (!rest.starts_with('=')) return;
    rest = skip_space(rest.substr(1));
    const std::string_view value = take_header_text(rest);
    const auto found = std::ranges::find_if(
        parameters, [name](const auto& parameter) { return equal_no_case(parameter.name, name); });
    if (found != parameters.end()) copy_cut(value, found->value);
  }
}

cgiParseResultType cgiReadToBoundary(cgiBodyStream& stream, cgiBoundary which, const cgiBodyOutput& output,
                                     std::int32_t& length) {
  body_writer writer{output};
  length = 0;
  if (output.memory != nullptr) output.memory->reset();
  cgiParseResultType result = writer.result();
  if (result == cgiParseSuccess) result = find_boundary(stream, which, writer);
  if (result == cgiParseSuccess) result = take_boundary_end(stream);
  return result == cgiParseSuccess ? writer.finish(length) : result;
}

cgiParseResultType cgiParsePostMultipartInput() {
  // Too large for the stack of a server that limits it.
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
