#include "support/fields.hpp"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>

#include "cgi/form_entry.hpp"
#include "cgi/state.hpp"
#include "support/files.hpp"

std::ostream& operator<<(std::ostream& out, const field& shown) {
  return out << "[" << shown.name << "|" << shown.value << "|" << shown.file_name << "|" << shown.type << "]";
}

std::vector<field> take_fields() {
  std::vector<field> fields;
  for (const cgiFormEntry* entry = cgiFormEntryFirst; entry != nullptr; entry = entry->next) {
    const bool is_file = entry->tfileName()[0] != '\0';
    std::string value{entry->value(), is_file ? 0U : static_cast<std::size_t>(entry->valueLength)};
    EXPECT_EQ(entry->value()[value.size()], '\0');
    if (is_file) {
      struct stat about {};
      stat(entry->tfileName(), &about);
      EXPECT_EQ(about.st_mode, S_IFREG | 0600U);
      value = read_file(entry->tfileName());
      EXPECT_EQ(value.size(), entry->valueLength);
    }
    fields.push_back({entry->name(), value, entry->fileName(), entry->contentType()});
  }
  cgiFreeResources();
  EXPECT_EQ(list_folder("/dev/shm"), lines{});
  return fields;
}

void append_field(const field& added) {
  std::string path;
  if (!added.file_name.empty()) {
    path = cgiTemporaryFiles;
    close(mkstemp(path.data()));
    write_file(path, added.value);
  }
  cgiNewEntry entry;
  ASSERT_TRUE(entry.begin(
      {.name = added.name, .fileName = added.file_name, .contentType = added.type, .tfileName = path},
      added.value.size()));
  ASSERT_TRUE(entry.block().append_all(path.empty() ? added.value : ""));
  EXPECT_EQ(entry.append_to_list(static_cast<std::int32_t>(added.value.size())), cgiParseSuccess);
}
