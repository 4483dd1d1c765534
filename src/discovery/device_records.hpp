// Device records: what units report, a row of kvp_table for each unit.
//
// An answer is read pair by pair (api_message.hpp). Its keys are those of the column list, with letter case; of two
// columns with the same key the first takes the value. Any other key is dropped, and a later value replaces an earlier
// one unless it is empty.

#pragma once

#include <cstdint>
#include <string_view>

#include "base/growing_array.hpp"
#include "discovery/column_list.hpp"
#include "discovery/node_files.hpp"
#include "discovery/record_table.hpp"

// Allocate the tables for device_count units; without memory a table stays absent, and nothing is stored.
// kvp_alloc makes current_record 0 in every case.
void kvp_alloc();
void vdt_alloc();
void kvp_free();
void vdt_free();

// Copies the serial, the address and the id of every record of kvp_table to its record of vdt.
void vdt_fill();

// kvp_set_value, set a key's value: stores one value of record current_record under the first key of the mode's header
// table that equals the given one. A value that is empty or longer than 63 characters leaves the earlier one as it was.
// Returns the column, or -1 when nothing was stored: an unknown, empty or too long key, or no table.
int kvp_set_value(int mode, std::string_view key, std::string_view value);

// kvp_parse_reply, parse a reply's pairs: fills record current_record of kvp_table from a whole answer and goes on to
// the next record. Counts the unit as an encoder or a decoder for each UNIT.MODEL. Returns the number of "&".
int kvp_parse_reply(std::string_view text);

// Answers that arrive in pieces, each unit's to its own row: a pair is stored as soon as its "&" is there, and only what
// a later piece may complete is kept. Of one unit the first 2048 bytes count.
// Without memory the table is released; models are counted all the same.
class arriving_answers {
 public:
  arriving_answers(const column_list& columns, record_table& records)
      : columns_(columns), records_(records) {}
  arriving_answers(const arriving_answers&) = delete;
  arriving_answers& operator=(const arriving_answers&) = delete;
  ~arriving_answers();

  // Adds a row for a new unit. Its number is the number of units before it.
  void add_unit();

  // Reads the next piece of a unit's answer. A zero byte ends the answer for good.
  void add(int unit, std::string_view piece);

 private:
  struct answer {
    char* rest;  // what is not read yet; null when nothing is left
    std::uint16_t rest_length;
    std::uint16_t length;  // of all that came
  };

  static_assert(node_text_size <= UINT16_MAX);

  void keep_rest(answer& known, std::string_view text);

  const column_list& columns_;
  record_table& records_;
  growing_array<answer> answers_;
};
