#include "massupdate/checks.hpp"

#include <algorithm>
#include <array>
#include <bit>
#include <charconv>
#include <climits>
#include <cstdint>
#include <cstdio>
#include <span>

#include "base/element.hpp"
#include "base/growing_array.hpp"
#include "base/text.hpp"
#include "base/trace.hpp"
#include "base/unit.hpp"
#include "base/zeroed_array.hpp"
#include "discovery/column_list.hpp"
#include "discovery/device_records.hpp"
#include "discovery/discovery_state.hpp"
#include "discovery/record_table.hpp"
#include "massupdate/import_records.hpp"
#include "massupdate/site_log.hpp"

namespace {

// Bits of vdt_record::flags.
constexpr std::uint32_t claimed = 0x01;
constexpr std::uint32_t same_serial = 0x40;

// One kind of identity: its key, and its mark and text in a vdt record.
struct identity {
  std::string_view key;
  std::uint32_t mark;  // of a vdt record
  fixed_text<64> vdt_record::*text;
};

constexpr auto identities = std::to_array<identity>({
    {"UNIT.ID", 0x10, &vdt_record::unit_id},
    {"IP.ADDRESS", 0x20, &vdt_record::address},
    {"UNIT.SERIAL", same_serial, &vdt_record::serial},
});

// A hash table of the texts seen so far, each with the first record that has it. Open addressing, at most
// half full.
class seen_texts {
 public:
  explicit seen_texts(int records)
      : mask_(std::bit_ceil(2 * static_cast<std::uint32_t>(records) + 1) - 1),
        entries_(zeroed_array<entry>(mask_ + 1)) {}

  [[nodiscard]] explicit operator bool() const { return entries_ != nullptr; }

  // Returns the first record with an equal text, which is this one when the text is new. The text must stay
  // valid as long as the table.
  int first_with(std::string_view text, int record) {
    const std::uint32_t hash = hash_of(text);
    std::uint32_t place = hash & mask_;
    for (; entries_[place].text != nullptr; place = (place + 1) & mask_) {
      const entry& seen = entries_[place];
      if (seen.hash == hash && equal_no_case({seen.text, seen.length}, text)) return seen.record;
    }
    // A null pointer marks a free place, so an empty text without an address needs one.
    entries_[place] = {text.empty() ? "" : text.data(), hash, record,
                       static_cast<std::uint16_t>(text.size())};
    return record;
  }

 private:
  struct entry {
    const char* text;  // null at a free place
    std::uint32_t hash;
    int record;
    std::uint16_t length;
  };

  // FNV-1a over the lower-case letters. The shift mixes the upper half into the bits that the mask keeps.
  static std::uint32_t hash_of(std::string_view text) {
    std::uint32_t hash = 0x811c9dc5;
    for (const char character : text) {
      hash = (hash ^ static_cast<unsigned char>(to_lower(character))) * 0x01000193;
    }
    return hash ^ hash >> 15;
  }

  std::uint32_t mask_;
  zeroed_pointer<entry> entries_;
};

// The two tables that are checked, with one interface: `text` returns what a record has for an identity, or
// false when it has nothing; `mark` notes that another record has the same.
class unit_identities {
 public:
  static constexpr const char* name = "vdt";

  [[nodiscard]] static int count() { return vdt_count; }
  [[nodiscard]] static bool text(int record, const identity& which, std::string_view& text) {
    text = (element(vdt, record).*which.text).view();
    return true;
  }
  static void mark(int record, const identity& which) { element(vdt, record).flags |= which.mark; }
};

class record_identities {
 public:
  static constexpr const char* name = "kvp";

  record_identities(const column_list& columns, record_table& records)
      : columns_(columns), records_(records) {
    for (std::size_t i = 0; i < identities.size(); ++i) first_[i] = columns.find_no_case(identities[i].key);
  }

  [[nodiscard]] int count() const { return records_.rows(); }
  [[nodiscard]] bool text(int record, const identity& which, std::string_view& text) const {
    const int first = element(first_, &which - identities.data());
    const int column = find_cell(columns_, records_, record, which.key, first);
    if (column == column_list::none) return false;
    text = records_.value(record, column);
    return true;
  }
  void mark(int record, const identity&) const { records_.add_flags(record, duplicate_record); }

 private:
  const column_list& columns_;
  record_table& records_;
  std::array<int, identities.size()> first_;  // the first column with the key of each identity
};

// A record that shares an identity, and the turn i in which the pair loop marks it.
struct twin {
  int record;
  int marked_in_turn;
};

constexpr int no_turn = INT_MAX;

// Marks the records that share this identity and records the turn of each mark. In the pair loop a record is
// marked in the turn of the first other record that equals it:
//
//     equal records    2   5   9
//     marked in turn   5   2   2
//
// A record keeps its earliest turn over all identities. Returns false without memory.
template <typename Table>
bool mark_equals(const Table& table, const identity& which, std::span<int> turns) {
  seen_texts seen{count_of(turns)};
  if (!seen) return false;
  for (int record = 0; record < count_of(turns); ++record) {
    std::string_view text;
    if (!table.text(record, which, text)) continue;
    const int first = seen.first_with(text, record);
    if (first == record) continue;
    table.mark(first, which);
    table.mark(record, which);
    element(turns, record) = std::min(element(turns, record), first);
    element(turns, first) = std::min(element(turns, first), record);
  }
  return true;
}

// Finds the marked records, ordered by the turn in which they are marked, then by number. Returns false
// without memory.
template <typename Table>
bool find_twins(const Table& table, growing_array<twin>& twins) {
  growing_array<int> marked_in_turn;
  const std::span<int> turns = marked_in_turn.extend(static_cast<std::size_t>(table.count()));
  if (count_of(turns) != table.count()) return false;
  std::ranges::fill(turns, no_turn);
  for (const identity& which : identities) {
    if (!mark_equals(table, which, turns)) return false;
  }
  for (int record = 0; record < table.count(); ++record) {
    const int turn = element(turns, record);
    if (turn != no_turn && !twins.append({record, turn})) return false;
  }
  std::ranges::sort(twins.items(), [](const twin& left, const twin& right) {
    return left.marked_in_turn != right.marked_in_turn ? left.marked_in_turn < right.marked_in_turn
                                                       : left.record < right.record;
  });
  return true;
}

// The log lines of one turn. They differ in their last number only, so the rest is formatted once.
class pair_line {
 public:
  pair_line(const char* table, int turn) {
    const int length = std::snprintf(text_.data(), text_.size(),
                                     "     duplicate_check_%s(): Duplicate Device DATA %d ", table, turn);
    number_ = text_.data() + length;
  }

  std::string_view with(int record) {
    char* end = std::to_chars(number_, text_.data() + text_.size() - 2, record).ptr;
    *end++ = ' ';
    *end++ = '\n';
    return {text_.data(), end};
  }

 private:
  std::array<char, 96> text_;
  char* number_;
};

// Logs every pair (turn, record) whose record is marked by that turn, in the order of the turns and of the
// records. The twins are sorted by turn. Those marked so far are kept sorted by record in front of the
// others, and each turn merges its new ones in:
//
//     twins by turn    (5,0) (9,0) (3,2) (2,3) (0,5)   record, turn
//     turns 0 and 1    5 9 | 3 2 0                     marked, by record | not yet
//     turn 2           3 5 9 | 2 0
//     turns 3 and 4    2 3 5 9 | 0
//     turns 5 and up   0 2 3 5 9 |
//
// So each turn only runs over the lines that it logs.
void log_pairs(const char* table, int records, std::span<twin> twins) {
  if (twins.empty()) return;
  trace_block log{unit::site_log};
  std::size_t marked = 0;
  for (int turn = twins.front().marked_in_turn; turn < records; ++turn) {
    const std::size_t before = marked;
    while (marked < twins.size() && twins[marked].marked_in_turn == turn) ++marked;
    std::inplace_merge(twins.data(), twins.data() + before, twins.data() + marked,
                       [](const twin& left, const twin& right) { return left.record < right.record; });
    pair_line line{table, turn};
    for (const twin& second : twins.first(marked)) {
      if (second.record != turn && !log.append(line.with(second.record))) return;
    }
  }
}

// Runs a check on a table. Returns false without memory.
template <typename Table>
bool check_duplicates(const Table& table) {
  growing_array<twin> twins;
  if (!find_twins(table, twins)) return false;
  log_pairs(Table::name, table.count(), twins.items());
  return true;
}

}  // namespace

void duplicate_check_vdt() {
  log_site_message("    BEGIN duplicate_check_vdt():");
  if (!vdt) {
    log_site_message("    SKIP duplicate_check_vdt(): NO VDT");
    return;
  }
  // Without memory the units stay unmarked, which changes nothing but the log.
  static_cast<void>(check_duplicates(unit_identities{}));
  log_site_message("    END duplicate_check_vdt():");
}

void duplicate_check_kvp() {
  log_site_message("    BEGIN duplicate_check_kvp():");
  if (!check_duplicates(record_identities{import_header_table, kvp_table})) kvp_free();
  log_site_message("    END duplicate_check_kvp():");
}

int check_device_valid(std::string_view serial) {
  const int length = count_of(serial);
  const auto log = [length, serial](const char* what, int result, int number) {
    log_site_message("   check_device_valid(%.*s) %s %d %d", length, serial.data(), what, result, number);
    return result;
  };
  if (serial.empty() || serial.size() >= key_size || !vdt) {
    log_site_message("   check_device_valid(%.*s) Invalid Input %d or no VDT", length, serial.data(), -1);
    return -1;
  }
  const std::span units{vdt.get(), vdt.get() + vdt_count};
  const auto found = std::ranges::find_if(
      units, [serial](const vdt_record& unit) { return equal_no_case(unit.serial.view(), serial); });
  if (found == units.end()) return log("Device Not Found in Valid Device Table", -1, vdt_count);
  const int index = static_cast<int>(found - units.begin());
  log_site_message("   check_device_valid(%.*s~%s) %d %d", length, serial.data(), found->serial.c_str(),
                   index, vdt_count);
  if ((found->flags & same_serial) != 0) return log("Duplicate Device DATA", -3, index);
  if ((found->flags & claimed) != 0) return log("Duplicate Device Found", -2, index);
  found->flags |= claimed;
  return index;
}
