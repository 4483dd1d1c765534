#include <gtest/gtest.h>

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "discovery/catalogue_tables.hpp"
#include "discovery/key_catalogue.hpp"
#include "discovery/model_catalogue.hpp"
#include "massupdate/rename_table.hpp"

namespace {

constexpr std::uint16_t every_class = 0x3F0;

// A checksum of texts in their order: FNV-1a, with a line feed after each text.
std::uint32_t checksum(std::span<const std::string_view> texts) {
  std::uint32_t sum = 0x811C9DC5;
  for (const std::string_view text : texts) {
    for (const char byte : std::string{text} + '\n') {
      sum = (sum ^ static_cast<unsigned char>(byte)) * 0x01000193;
    }
  }
  return sum;
}

}  // namespace

// If it fails, a key or a model is misspelt, missing or in another table, and units are sent other settings.
TEST(Catalogue, TablesAreUnchanged) {
  std::vector<std::string_view> renamed;
  for (const rename_row& row : rename_table) renamed.insert(renamed.end(), {row.record_key, row.sent_as});
  EXPECT_EQ(checksum(renamed), 0x06E6D6A7U);
  EXPECT_EQ(checksum(excluded_keys), 0xB4AF2578U);
  EXPECT_EQ(checksum(status_keys), 0x8F8E91CDU);
  EXPECT_EQ(checksum(encoder_keys), 0x4C5EEE53U);
  EXPECT_EQ(checksum(decoder_keys), 0x1A7F72BBU);
  EXPECT_EQ(checksum(extended_keys), 0xB54F34F1U);
  EXPECT_EQ(checksum(second_gen_keys), 0x03326454U);
  EXPECT_EQ(checksum(decoder_models), 0xAC495B47U);
  EXPECT_EQ(checksum(encoder_models), 0x92491A5CU);
  EXPECT_EQ(checksum(wallplate_models), 0xF88B6620U);
  EXPECT_EQ(checksum(second_gen_models), 0x92C4642FU);
}

// If it fails, a unit counts as another kind, and is sent settings that it does not take.
TEST(Models, AreFoundWhateverTheirCase) {
  struct row {
    const char* model;
    int decoder, encoder, wallplate, second_gen;
  };
  for (const row& row : {
           row{"RX610", 1, 0, 0, 0},
           {"T-PL-RF", 0, 1, 1, 0},
           {"KestT-2", 0, 1, 0, 1},
           {"kestr-2", 1, 0, 0, 1},
           {"KestR-2 ", 0, 0, 0, 0},
           {"Kest", 0, 0, 0, 0},
       }) {
    EXPECT_EQ(is_decoder_model(row.model), row.decoder) << row.model;
    EXPECT_EQ(is_encoder_model(row.model), row.encoder) << row.model;
    EXPECT_EQ(is_wallplate_model(row.model), row.wallplate) << row.model;
    EXPECT_EQ(is_second_gen_model(row.model), row.second_gen) << row.model;
  }
}

// If it fails, a command passes for a setting, or a setting goes to units that do not take it.
TEST(Keys, HaveTheAskedClassesThatListThem) {
  struct row {
    std::string key;
    std::uint16_t asked;
    std::uint16_t found;
    std::string left;  // the caller's text afterwards
  };
  for (const row& row : {
           row{"QUERY.ALL", 0x80, 0x80, "QUERY.ALL"},
           {"query.all", every_class, 0, "query.all"},
           {"UNIT.MODEL\nrest\n", 0x40, 0x40, "UNIT.MODEL"},
           {"UNIT.MODEL\r\n", 0x40, 0, "UNIT.MODEL\r"},
           {"OWN_", 0x80, 0x80, "OWN_"},
           {"\n", every_class, 0, ""},
           {"IP.VLAN_TAG_DANTE", 0x300, 0x300, "IP.VLAN_TAG_DANTE"},
           {"VW.ACTIVE", every_class, 0xA0, "VW.ACTIVE"},
           {"VIDEO.HDCP_FORCE_OFF", every_class, 0x10, "VIDEO.HDCP_FORCE_OFF"},
           {"VIDEO.EDID3", every_class, 0x200, "VIDEO.EDID3"},
           {"AUDIO.DAC_MUX", every_class | 0xF, 0x100, "AUDIO.DAC_MUX"},
           {std::string(62, 'k') + "_", every_class, 0x80, std::string(62, 'k') + "_"},
           {std::string(63, 'k') + "_", every_class, 0, std::string(63, 'k') + "_"},
       }) {
    std::string key = row.key;
    EXPECT_EQ(classify_key(key.data(), row.asked), row.found) << row.key;
    EXPECT_EQ(key.c_str(), row.left);
  }
  EXPECT_EQ(classify_key(nullptr, every_class), 0);
}
