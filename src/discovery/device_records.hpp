// Device records: what the units report, one row of kvp_table each.
//
// An answer is read pair by pair (api_message.hpp). Its keys must equal those of the column list in letter
// case; other keys are dropped. When two columns have the same key the first takes the value. A later value
// replaces an earlier one unless it is empty.

#pragma once

#include <cstdint>
#include <string_view>

#include "base/growing_array.hpp"
#include "discovery/column_list.hpp"
#include "discovery/node_files.hpp"
#include "discovery/record_table.hpp"

// Allocate and release the tables for device_count units. Without memory a table stays absent and nothing is
// stored. kvp_alloc sets current_record to 0 in every case.
void kvp_alloc();
void vdt_alloc();
void kvp_free();
void vdt_free();

// Copies the serial, address and id of every record of kvp_table to the vdt record of the same number.
void vdt_fill();

// kvp_set_value: stores a value in record current_record, under the first key of the mode's header table that
// equals the given one. An empty value and one over 63 bytes leave the earlier value in place. Returns the
// column, or -1 when nothing was stored: the key is unknown, empty or too long, or there is no table.
int kvp_set_value(int mode, std::string_view key, std::string_view value);

// kvp_parse_reply: fills record current_record of kvp_table from a complete answer and advances
// current_record. Counts the unit as an encoder or a decoder for each UNIT.MODEL. Returns the number of "&"
// in the text.
int kvp_parse_reply(std::string_view text);

// Answers that arrive in pieces, each unit's for a row of its own. A pair is stored as soon as its "&" has
// arrived; only the text after the last "&", which the next piece may complete, is kept:
//
//     piece 1    IP.ADDRESS=10.77.1.5&UNIT.I       stores IP.ADDRESS, keeps "UNIT.I"
//     piece 2    D=hall&                           stores UNIT.ID=hall, keeps nothing
//
// So an answer costs its values and a rest, and no node file is read again. Of each unit the first 2048 bytes
// count. Without memory the table is released; models are counted all the same.
class arriving_answers {
 public:
  arriving_answers(const column_list& columns, record_table& records)
      : columns_(columns), records_(records) {}
  arriving_answers(const arriving_answers&) = delete;
  arriving_answers& operator=(const arriving_answers&) = delete;
  ~arriving_answers();

  // Adds a row for a new unit. Units are numbered from 0 in the order of these calls.
  void add_unit();

  // Reads the next piece of a unit's answer. A zero byte ends the answer: all later pieces are ignored.
  void add(int unit, std::string_view piece);

 private:
  struct answer {
    char* rest;  // the text not parsed yet, from malloc; null for none
    std::uint16_t rest_length;
    std::uint16_t length;  // bytes received so far; node_text_size once the answer has ended
  };

  static_assert(node_text_size <= UINT16_MAX);

  void keep_rest(answer& known, std::string_view text);

  const column_list& columns_;
  record_table& records_;
  growing_array<answer> answers_;
};
