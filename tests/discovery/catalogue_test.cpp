#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include "discovery/key_catalogue.hpp"
#include "discovery/model_catalogue.hpp"

namespace {

constexpr std::uint16_t every_class = 0x3F0;

}  // namespace

// If it fails, a unit counts as another kind, and is sent settings that it does not take. script/check compares the
// tables themselves with the console's.
TEST(Models, AreFoundWhateverTheirCase) {
  struct row {
    const char* model;
    int decoder, encoder, wallplate, second_gen;
  };
  for (const row& row : {
           row{"RX610", 1, 0, 0, 0},
           {"TX610", 0, 1, 0, 0},
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
