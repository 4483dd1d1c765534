// What the request layer does when memory or a disk is full.

#include <gtest/gtest.h>
#include <sys/resource.h>

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <new>
#include <string>

#include "cgi/accessors.hpp"
#include "cgi/capture_file.hpp"
#include "cgi/cookies.hpp"
#include "cgi/form_entry.hpp"
#include "cgi/state.hpp"
#include "cgi/uploaded_files.hpp"
#include "cgi/urlencoded.hpp"
#include "support/fields.hpp"
#include "support/files.hpp"

namespace {

// How many allocations of ours succeed before one fails; none fails below 0.
int allocations_left = -1;
std::size_t largest_allocation = 0;

// Whether there is room for an allocation of that size.
bool counted(std::size_t size) {
  largest_allocation = std::max(largest_allocation, size);
  return allocations_left != 0 && allocations_left-- != 0;
}

}  // namespace

// The linker leads every call of this one here.
extern "C" {
void* __real_reallocarray(void* memory, std::size_t count, std::size_t size);
void* __wrap_reallocarray(void* memory, std::size_t count, std::size_t size) {
  return counted(count * size) ? __real_reallocarray(memory, count, size) : nullptr;
}
}

// The layer allocates without exceptions; the test itself with them, so its allocations never fail.
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
  return counted(size) ? operator new[](size) : nullptr;
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  return counted(size) ? operator new(size) : nullptr;
}

namespace {

// Repeats the operation with memory for 0, 1, 2 and more allocations, until it says that it had enough.
template <typename Operation>
void with_growing_memory(const Operation& has_enough) {
  int room = 0;
  for (bool done = false; !done && room < 1000; ++room) {
    SCOPED_TRACE(room);
    allocations_left = room;
    done = has_enough();
    allocations_left = -1;
  }
  EXPECT_TRUE(room > 1 && room < 1000) << "it never failed, or never succeeded";
}

const char* const path = "/tmp/request.cgic";

void small_request() {
  append_field({"a", "1"});
  append_field({"file", "content", "client.bin", "t"});
  append_field({"a", "2"});
}

}  // namespace

// If it fails, a program without memory reads or frees an array or a file that is none.
TEST(OutOfMemory, ArraysAndFilesAreNull) {
  small_request();
  cgiCookie = "x=1; y=2";
  const auto values = [](char*** array) { return cgiFormStringMultiple("a", array); };
  for (cgiFormResultType (*make)(char***) : {+values, cgiFormEntries, cgiCookies}) {
    with_growing_memory([make] {
      char* other = nullptr;
      char** array = &other;
      const cgiFormResultType result = make(&array);
      EXPECT_EQ(result, array == nullptr ? cgiFormMemory : cgiFormSuccess);
      cgiStringArrayFree(array);
      return result == cgiFormSuccess;
    });
  }
  with_growing_memory([] {
    cgiFilePtr file = nullptr;
    const cgiFormResultType result = cgiFormFileOpen("file", &file);
    EXPECT_EQ(result, file == nullptr ? cgiFormMemory : cgiFormSuccess);
    EXPECT_EQ(cgiFormFileClose(file), file == nullptr ? cgiFormOpenFailed : cgiFormSuccess);
    return result == cgiFormSuccess;
  });
}

// If it fails, a request is replayed with some of its fields, as if it was whole.
TEST(OutOfMemory, ACaptureLoadsNothing) {
  small_request();
  ASSERT_EQ(cgiWriteEnvironment(path), cgiEnvironmentSuccess);
  std::size_t most_fields = 0;
  with_growing_memory([&most_fields] {
    const int result = cgiReadEnvironment(path);
    allocations_left = -1;
    const std::size_t fields = take_fields().size();
    if (result == cgiEnvironmentSuccess) {
      // An entry without memory for its name counts as the end of the file.
      EXPECT_GE(fields, most_fields);
      most_fields = fields;
    } else {
      EXPECT_EQ(fields, 0U);
      EXPECT_TRUE(result == cgiEnvironmentMemory || most_fields == 0);
    }
    return fields == 3;
  });
}

// If it fails, a command runs with some of its fields, as if they were all.
TEST(OutOfMemory, ABodyOfSomeFieldsIsNoSuccess) {
  with_growing_memory([] {
    const int result = cgiParseFormInput("a=1&b=2&c=3");
    allocations_left = -1;
    EXPECT_EQ(result == cgiParseSuccess, take_fields().size() == 3);
    return result == cgiParseSuccess;
  });
}

// If it fails, a damaged capture file takes all memory of a unit.
TEST(OutOfMemory, ALengthInACaptureIsNoReasonToAllocate) {
  small_request();
  ASSERT_EQ(cgiWriteEnvironment(path), cgiEnvironmentSuccess);
  cgiFreeResources();
  const std::string whole = read_file(path);
  const std::string beyond_all("\xFF\xFF\xFF\x7F", 4);
  largest_allocation = 0;
  for (std::size_t place = 0; place + beyond_all.size() <= whole.size(); ++place) {
    write_file(path, std::string{whole}.replace(place, beyond_all.size(), beyond_all));
    static_cast<void>(cgiReadEnvironment(path));
    cgiFreeResources();
    ASSERT_LE(largest_allocation, 2 * whole.size()) << place;
  }
}

// If it fails, a full disk leaves half a capture file, or one that cannot be read passes for a request.
TEST(FullDisk, AFailedCaptureLeavesNoFile) {
  append_field({"file", std::string(20'000, 'x'), "client.bin", "t"});
  ASSERT_EQ(cgiWriteEnvironment(path), cgiEnvironmentSuccess);
  const auto size = std::filesystem::file_size(path);
  static_cast<void>(std::signal(SIGXFSZ, SIG_IGN));
  const auto limit_files = [](std::uintmax_t bytes) {
    rlimit limit{};
    getrlimit(RLIMIT_FSIZE, &limit);
    limit.rlim_cur = bytes;
    setrlimit(RLIMIT_FSIZE, &limit);
  };
  for (const std::uintmax_t room : {std::uintmax_t{0}, std::uintmax_t{100}, std::uintmax_t{5000}, size - 1}) {
    limit_files(room);
    EXPECT_EQ(cgiWriteEnvironment(path), cgiEnvironmentIO) << room;
    EXPECT_FALSE(std::filesystem::exists(path)) << room;
  }
  limit_files(size);
  ASSERT_EQ(cgiWriteEnvironment(path), cgiEnvironmentSuccess);
  limit_files(19'999);
  EXPECT_EQ(cgiReadEnvironment(path), cgiEnvironmentIO);
  limit_files(RLIM_INFINITY);
  EXPECT_EQ(take_fields().size(), 0U);
  EXPECT_EQ(cgiWriteEnvironment("/nowhere/request.cgic"), cgiEnvironmentIO);
}
