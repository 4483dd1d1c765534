#include "cgi/uploaded_files.hpp"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "support/files.hpp"

namespace {

void append(const std::string& name, const std::string& file_name, const std::string& path, int length) {
  ASSERT_EQ(cgiAppendEntry({.name = cgiCopyText(name),
                            .value = cgiCopyText("value"),
                            .valueLength = length,
                            .fileName = cgiCopyText(file_name),
                            .contentType = cgiCopyText(""),
                            .tfileName = cgiCopyText(path),
                            .next = nullptr}),
            cgiParseSuccess);
}

void append_fields() {
  write_file("/tmp/upload", "0123456789");
  append("plain", "", "", 5);
  append("file", "client.bin", "/tmp/upload", 10);
  append("file", "second.bin", "/tmp/second", 3);
  append("gone", "gone.bin", "/tmp/gone", 7);
}

}  // namespace

TEST(UploadedFile, NameIsCutToTheBuffer) {
  append_fields();
  struct row {
    const char* field;
    int max;
    cgiFormResultType result;
    std::string text;
  };
  const std::string untouched(12, '#');
  for (const row& row : {
           row{"file", 11, cgiFormSuccess, std::string("client.bin\0#", 12)},
           {"file", 10, cgiFormTruncated, std::string("client.bi\0##", 12)},
           {"file", 1, cgiFormTruncated, std::string("\0###########", 12)},
           {"file", 0, cgiFormTruncated, untouched},
           {"file", -5, cgiFormTruncated, untouched},
           {"File", 5, cgiFormNotFound, std::string("\0###########", 12)},
           {"File", 0, cgiFormNotFound, untouched},
           {"plain", 5, cgiFormNoFileName, std::string("\0###########", 12)},
           {"plain", 0, cgiFormNoFileName, untouched},
       }) {
    std::string buffer = untouched;
    EXPECT_EQ(cgiFormFileName(row.field, buffer.data(), row.max), row.result) << row.field << row.max;
    EXPECT_EQ(buffer, row.text) << row.field << row.max;
  }
}

TEST(UploadedFile, SizeIsThatOfTheFirstOfItsName) {
  append_fields();
  int size = -1;
  EXPECT_EQ(cgiFormFileSize("file", &size), cgiFormSuccess);
  EXPECT_EQ(size, 10);
  EXPECT_EQ(cgiFormFileSize("plain", &size), cgiFormNotAFile);
  EXPECT_EQ(size, 0);
  size = -1;
  EXPECT_EQ(cgiFormFileSize("none", &size), cgiFormNotFound);
  EXPECT_EQ(size, 0);
  EXPECT_EQ(cgiFormFileSize("file", nullptr), cgiFormSuccess);
}

TEST(UploadedFile, IsReadToItsEnd) {
  append_fields();
  cgiFilePtr file = nullptr;
  ASSERT_EQ(cgiFormFileOpen("file", &file), cgiFormSuccess);
  std::string buffer(7, '#');
  int got = 0;
  EXPECT_EQ(cgiFormFileRead(file, buffer.data(), 7, &got), cgiFormSuccess);
  EXPECT_EQ(buffer.substr(0, 7), "0123456");
  EXPECT_EQ(cgiFormFileRead(file, buffer.data(), 7, &got), cgiFormSuccess);
  EXPECT_EQ(got, 3);
  EXPECT_EQ(buffer.substr(0, 3), "789");
  EXPECT_EQ(cgiFormFileRead(file, buffer.data(), 7, &got), cgiFormEOF);
  EXPECT_EQ(got, 3);
  EXPECT_EQ(cgiFormFileClose(file), cgiFormSuccess);
  EXPECT_EQ(cgiFormFileRead(nullptr, buffer.data(), 7, &got), cgiFormOpenFailed);
  EXPECT_EQ(cgiFormFileClose(nullptr), cgiFormOpenFailed);
}

TEST(UploadedFile, OpenLeavesTheHandleAloneOnlyWhenTheFileIsGone) {
  append_fields();
  cgiFile other{nullptr};
  cgiFilePtr file = &other;
  EXPECT_EQ(cgiFormFileOpen("gone", &file), cgiFormIO);
  EXPECT_EQ(file, &other);
  EXPECT_EQ(cgiFormFileOpen("plain", &file), cgiFormNotAFile);
  EXPECT_EQ(file, nullptr);
  file = &other;
  EXPECT_EQ(cgiFormFileOpen("none", &file), cgiFormNotFound);
  EXPECT_EQ(file, nullptr);
}

TEST(UploadedFile, IsDeletedWithItsField) {
  append_fields();
  cgiFreeResources();
  EXPECT_FALSE(std::filesystem::exists("/tmp/upload"));
}
