#include "massupdate/import_csv.hpp"

#include <gtest/gtest.h>

#include <string>

#include "discovery/discovery_state.hpp"
#include "massupdate/import.hpp"
#include "massupdate/import_records.hpp"

namespace {

const std::string keys = "UNIT.ID\nVW.NAME\nUNIT.MODEL\nIP.ADDRESS\n";

// A record as its keys and values, and its flags when it has any.
std::string text_of(int row) {
  std::string text;
  for (int column = 0; column < import_header_count(); ++column) {
    if (!kvp_table.holds(row, column)) continue;
    text.append(import_header_table.key(column)).append("=").append(kvp_table.value(row, column)).append(";");
  }
  return kvp_table.flags(row) != 0 ? text + std::to_string(kvp_table.flags(row)) : text;
}

// All records that the CSV gives, "|" between them.
std::string imported(const std::string& csv, const std::string& unit_keys = keys) {
  const int count = import(unit_keys, csv);
  std::string text;
  for (int i = 0; i < count; ++i) text += (i > 0 ? "|" : "") + text_of(i);
  kvp_free();
  return text;
}

struct row {
  std::string line;
  std::string record;
};

}  // namespace

// If it fails, a unit gets a value with quotes in it, half a value, or that of the next cell.
TEST(ImportCsv, CellsFollowTheirQuotes) {
  const std::string v63(63, 'v');
  for (const row& row : {
           row{"A1,\"x,y\",RX610", "UNIT.ID=A1;VW.NAME=x,y;UNIT.MODEL=RX610;"},
           {"A1,,x", "UNIT.ID=A1;UNIT.MODEL=x;"},
           {",,", "UNIT.MODEL=;"},
           {"", "UNIT.ID=;"},
           {" A1 , x ,y ", "UNIT.ID= A1 ;VW.NAME= x ;UNIT.MODEL=y ;"},
           {"\"abc\",x,y", "VW.NAME=x;UNIT.MODEL=y;"},
           {"\",\",x,y", "UNIT.ID=,;VW.NAME=x;UNIT.MODEL=y;"},
           {"\"a,b", "VW.NAME=b;"},
           {"a\"b,c\"d,e", "UNIT.ID=a\"b;VW.NAME=c\"d;UNIT.MODEL=e;"},
           {"A1,x,\"y\"", "UNIT.ID=A1;VW.NAME=x;UNIT.MODEL=\"y\";"},
           {"A1,\"x,y\"", "UNIT.ID=A1;UNIT.MODEL=y\";"},
           {"A1,x,y,z,more", "UNIT.ID=A1;VW.NAME=x;UNIT.MODEL=y;"},
           {"A1\r,x\rx", "UNIT.ID=A1\r;VW.NAME=x;"},
           {std::string("A1,x\0y,z", 8), ""},
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

// If it fails, values reach the keys of other columns.
TEST(ImportCsv, ColumnsNeverShift) {
  const std::string k63 = std::string(62, 'K') + "_";
  for (const row& row : {
           row{"UNIT.ID,Unknown,VW.NAME\r\n1,2,3", "UNIT.ID=1;VW.NAME=3;"},
           {",UNIT.ID,,VW.NAME\r\n1,2,3,4", "UNIT.ID=2;VW.NAME=4;"},
           {"\"UNIT.ID\",VW.NAME, UNIT.ID\r\n1,2,3", "VW.NAME=2;"},
           {k63 + "," + "K" + k63 + ",UNIT.ID\r\n1,2,3", k63 + "=1;UNIT.ID=3;"},
           {"UNIT.ID,VW.NAME,UNIT.ID\r\n1,2,3", "UNIT.ID=3;VW.NAME=2;"},
           {"UNIT.ID,VW.NAME,UNIT.ID\r\n1,2,", "UNIT.ID=1;VW.NAME=2;"},
           {"UNIT.SAVE,unit.save,MY_,UNIT.ID\r\n1,2,3,4", "UNIT.SAVE=1;MY_=3;UNIT.ID=4;"},
           {std::string("UNIT.ID\0,VW.NAME\r\n1,2", 21), "VW.NAME=2;"},
       }) {
    EXPECT_EQ(imported(row.line + "\r\n"), row.record) << row.line;
  }
}

// If it fails, a CSV with many columns loses some that count, or writes past the table.
TEST(ImportCsv, TheFirst128ColumnsCount) {
  std::string header;
  std::string line;
  for (int i = 0; i < 126; ++i) {
    header += "Unknown,";
    line += "x,";
  }
  EXPECT_EQ(imported(header + "UNIT.ID,VW.NAME\r\n" + line + "1,2\r\n"), "UNIT.ID=1;VW.NAME=2;");
  EXPECT_EQ(imported("Unknown," + header + "UNIT.ID,VW.NAME\r\nx," + line + "1,2\r\n"), "UNIT.ID=1;");
  header.clear();
  for (int i = 0; i < 129; ++i) header += "K" + std::to_string(i) + "_,";
  EXPECT_EQ(import(keys, header + "UNIT.ID\r\n" + std::string(1'000'000, ',') + "\r\n"), 1);
  EXPECT_EQ(import_header_count(), 128);
}

// If it fails, a unit is sent the settings of another kind. The flags follow the values.
TEST(ImportCsv, ModelsMarkTheirRecordUnlessInTheLastColumn) {
  for (const row& row : {
           row{"unit.model,UNIT.ID\r\nqv8r,1", "unit.model=qv8r;UNIT.ID=1;32"},
           {"UNIT.ID,UNIT.MODEL,VW.NAME\r\n1,KestT-2,", "UNIT.ID=1;UNIT.MODEL=KestT-2;VW.NAME=;528"},
           {"UNIT.MODEL,UNIT.ID\r\nKestT-PL,", "UNIT.MODEL=KestT-PL;UNIT.ID=;272"},
           {"UNIT.MODEL,UNIT.ID\r\n\"TX610\",1", "UNIT.ID=1;"},
           {"UNIT.MODEL,UNIT.MODEL,UNIT.ID\r\nTX610,RX610,1", "UNIT.MODEL=RX610;UNIT.ID=1;48"},
           {"UNIT.ID,UNIT.MODEL\r\nRX610,RX610", "UNIT.ID=RX610;UNIT.MODEL=RX610;"},
       }) {
    EXPECT_EQ(imported(row.line), row.record) << row.line;
  }
}

// If it fails, rows count wrong, and results on the page are those of other rows.
TEST(ImportCsv, EveryLineAfterTheHeaderIsARecord) {
  EXPECT_EQ(imported("UNIT.ID,VW.NAME\r\n1,\r\n\r\n2,x"),
            "UNIT.ID=1;VW.NAME=;|UNIT.ID=;|UNIT.ID=2;VW.NAME=x;");
  for (const char* csv : {"", "\r\n", "UNIT.ID", "UNIT.ID\r\n"}) EXPECT_EQ(import(keys, csv), 0) << csv;
  EXPECT_EQ(device_count, 0);
  EXPECT_EQ(kvp_table.rows(), 0);
  EXPECT_EQ(read_import_csv("/nowhere", 0), 0);
  EXPECT_EQ(read_import_csv("/tmp", 0), 0);
  // Without the unit's keys only keys that are never sent are accepted.
  EXPECT_EQ(imported("UNIT.ID,UNIT.SAVE\r\n1,2\r\n", ""), "UNIT.SAVE=2;");
}
