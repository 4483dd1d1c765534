#include "massupdate/import_csv.hpp"

#include <gtest/gtest.h>

#include <string>

#include "discovery/discovery_state.hpp"
#include "massupdate/import.hpp"
#include "massupdate/import_records.hpp"

namespace {

const std::string keys = "UNIT.ID\nVW.NAME\nUNIT.MODEL\nIP.ADDRESS\n";

// A record as its keys and values, and its flags when it has any.
std::string text_of(const kvp_record& record) {
  std::string text;
  for (const key_header_entry& slot : record.slots) {
    if (!slot.key.empty()) {
      text.append(slot.key.view()).append("=").append(slot.value.view()).append(";");
    }
  }
  return record.record_flags != 0 ? text + std::to_string(record.record_flags) : text;
}

// All records that the CSV gives, "|" between them.
std::string imported(const std::string& csv, const std::string& unit_keys = keys) {
  const int count = import(unit_keys, csv);
  std::string text;
  for (int i = 0; i < count; ++i)
    text += (i > 0 ? "|" : "") + text_of(kvp_table[static_cast<std::size_t>(i)]);
  kvp_free();
  return text;
}

struct row {
  std::string line;
  std::string record;
};

}  // namespace

TEST(ImportCsv, CellsFollowTheirQuotes) {
  const std::string v63(63, 'v');
  for (const row& row : {
           row{"A1,\"x,y\",RX610", "UNIT.ID=A1;VW.NAME=x,y;UNIT.MODEL=RX610;"},
           {"A1,,x", "UNIT.ID=A1;UNIT.MODEL=x;"},
           {",,", "UNIT.MODEL=;"},
           {"A1,x,", "UNIT.ID=A1;VW.NAME=x;UNIT.MODEL=;"},
           {"A1", "UNIT.ID=A1;"},
           {"", "UNIT.ID=;"},
           {" A1 , x ,y ", "UNIT.ID= A1 ;VW.NAME= x ;UNIT.MODEL=y ;"},
           {"\"abc\",x,y", "VW.NAME=x;UNIT.MODEL=y;"},
           {"\"\",x,y", "VW.NAME=x;UNIT.MODEL=y;"},
           {"\",\",x,y", "UNIT.ID=,;VW.NAME=x;UNIT.MODEL=y;"},
           {"\"a,b,c\",x", "UNIT.ID=a,b,c;VW.NAME=x;"},
           {"\"a,b\"c,d", "VW.NAME=b\"c;UNIT.MODEL=d;"},
           {"\"a\"\"b,c\",d", "VW.NAME=c\";UNIT.MODEL=d;"},
           {"\"a,b", "VW.NAME=b;"},
           {"a\"b,c\"d,e", "UNIT.ID=a\"b;VW.NAME=c\"d;UNIT.MODEL=e;"},
           {"A1,x,\"y\"", "UNIT.ID=A1;VW.NAME=x;UNIT.MODEL=\"y\";"},
           {"A1,\"x,y\"", "UNIT.ID=A1;UNIT.MODEL=y\";"},
           {"A1,x,\"y,z\"", "UNIT.ID=A1;VW.NAME=x;"},
           {"A1,x,y,z,more", "UNIT.ID=A1;VW.NAME=x;UNIT.MODEL=y;"},
           {"A1\r,x\rx", "UNIT.ID=A1\r;VW.NAME=x;"},
           {std::string("A1,x\0y,z", 8), ""},
           {std::string("A1,x,S1\0", 8), ""},
           {v63 + "," + v63 + "v,y", "UNIT.ID=" + v63 + ";UNIT.MODEL=y;"},
           {"A1,x," + v63 + "v", "UNIT.ID=A1;VW.NAME=x;"},
           {"\"" + v63.substr(1) + ",\",x", "UNIT.ID=" + v63.substr(1) + ",;VW.NAME=x;"},
           {"\"" + v63 + ",\",x", "VW.NAME=x;"},
       }) {
    for (const char* end : {"\r\n", "\n", ""}) {
      if (row.line.empty() && *end == '\0') continue;
      EXPECT_EQ(imported("UNIT.ID,VW.NAME,UNIT.MODEL\r\n" + row.line + end), row.record) << row.line << end;
    }
  }
}

// A cell reaches the key of its own header field, and no other.
TEST(ImportCsv, ColumnsNeverShift) {
  const std::string k63 = std::string(62, 'K') + "_";
  for (const row& row : {
           row{"UNIT.ID,Unknown,VW.NAME\r\n1,2,3", "UNIT.ID=1;VW.NAME=3;"},
           {",UNIT.ID,,VW.NAME\r\n1,2,3,4", "UNIT.ID=2;VW.NAME=4;"},
           {"\"UNIT.ID\",VW.NAME, UNIT.ID\r\n1,2,3", "VW.NAME=2;"},
           {"Unknown\r\n1", ""},
           {"UNIT.ID,Unknown\r\n1,\"2,3\",4", "UNIT.ID=1;"},
           {k63 + "," + "K" + k63 + ",UNIT.ID\r\n1,2,3", k63 + "=1;UNIT.ID=3;"},
           {"UNIT.ID,VW.NAME,UNIT.ID\r\n1,2,3", "UNIT.ID=3;VW.NAME=2;"},
           {"UNIT.ID,VW.NAME,UNIT.ID\r\n1,2,", "UNIT.ID=1;VW.NAME=2;"},
           {"unit.id,UNIT.ID\r\n1,2", "unit.id=1;UNIT.ID=2;"},
           {"UNIT.SAVE,unit.save,MY_,UNIT.ID\r\n1,2,3,4", "UNIT.SAVE=1;MY_=3;UNIT.ID=4;"},
           {"UNIT.ID\rx,VW.NAME\rx\r\n1,2", "VW.NAME=2;"},
           {std::string("UNIT.ID\0,VW.NAME\r\n1,2", 21), "VW.NAME=2;"},
       }) {
    EXPECT_EQ(imported(row.line + "\r\n"), row.record) << row.line;
  }
}

TEST(ImportCsv, TheFirst128ColumnsCount) {
  for (const int before : {126, 127, 128}) {
    std::string header;
    std::string line;
    for (int i = 0; i < before; ++i) {
      header += "Unknown,";
      line += "x,";
    }
    const std::string record = before == 126 ? "UNIT.ID=1;VW.NAME=2;" : before == 127 ? "UNIT.ID=1;" : "";
    EXPECT_EQ(imported(header + "UNIT.ID,VW.NAME\r\n" + line + "1,2\r\n"), record) << before;
  }
  std::string header;
  for (int i = 0; i < 129; ++i) header += "K" + std::to_string(i) + "_,";
  EXPECT_EQ(import(keys, header + "UNIT.ID\r\n" + std::string(1'000'000, ',') + "\r\n"), 1);
  EXPECT_EQ(import_header_count, 128);
  EXPECT_EQ(import_header_fill, 0);
}

TEST(ImportCsv, ModelsMarkTheirRecordUnlessInTheLastColumn) {
  struct row {
    std::string csv;
    unsigned flags;
  };
  for (const row& row : {
           row{"UNIT.MODEL,UNIT.ID\r\nRX610,1", 0x20},
           {"UNIT.MODEL,UNIT.ID\r\nqv8r,1", 0x20},
           {"UNIT.ID,UNIT.MODEL,VW.NAME\r\n1,KestT-2,", 0x210},
           {"unit.model,UNIT.ID\r\nkestr-2,", 0x220},
           {"UNIT.MODEL,UNIT.ID\r\nKestT-PL,", 0x110},
           {"UNIT.MODEL,UNIT.ID\r\nTX610,", 0x10},
           {"UNIT.MODEL,UNIT.ID\r\nTX610 ,1", 0},
           {"UNIT.MODEL,UNIT.ID\r\n\"TX610\",1", 0},
           {"UNIT.MODEL,UNIT.MODEL,UNIT.ID\r\nTX610,RX610,1", 0x30},
           {"UNIT.ID,UNIT.MODEL\r\n1,RX610", 0},
           {"UNIT.ID,Model\r\nRX610,TX610,RX610", 0},
       }) {
    ASSERT_EQ(import(keys, row.csv), 1);
    EXPECT_EQ(kvp_table[0].record_flags, row.flags) << row.csv;
  }
}

TEST(ImportCsv, EveryLineBehindTheHeaderIsARecord) {
  EXPECT_EQ(imported("UNIT.ID,VW.NAME\r\n1,\r\n\r\n2,x"),
            "UNIT.ID=1;VW.NAME=;|UNIT.ID=;|UNIT.ID=2;VW.NAME=x;");
  for (const char* csv : {"", "\r\n", "UNIT.ID", "UNIT.ID\r\n"}) EXPECT_EQ(import(keys, csv), 0) << csv;
  EXPECT_EQ(device_count, 0);
  EXPECT_EQ(kvp_table, nullptr);
  EXPECT_EQ(read_import_csv("/nowhere", 0), 0);
  EXPECT_EQ(read_import_csv("/tmp", 0), 0);
  // Without the unit's keys only keys that are never sent are accepted.
  EXPECT_EQ(imported("UNIT.ID,UNIT.SAVE\r\n1,2\r\n", ""), "UNIT.SAVE=2;");
}
