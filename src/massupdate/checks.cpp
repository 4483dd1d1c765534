#include "massupdate/checks.hpp"

#include <algorithm>
#include <array>
#include <bit>
#include <charconv>
#include <cstdint>
#include <cstdio>
#include <span>

#include "base/growing_array.hpp"
#include "base/text.hpp"
#include "base/trace.hpp"
#include "base/unit.hpp"
#include "base/zeroed_array.hpp"
#include "discovery/device_records.hpp"
#include "discovery/discovery_state.hpp"
#include "massupdate/import_records.hpp"
#include "massupdate/site_log.hpp"

namespace {

using identity_text = fixed_text<64>;

constexpr std::uint32_t claimed = 0x01;
constexpr std::uint32_t same_serial = 0x40;

struct identity {
  std::string_view key;
  std::uint16_t mark;
  identity_text vdt_record::*text;
};

constexpr auto identities = std::to_array<identity>({
    {"UNIT.ID", 0x10, &vdt_record::unit_id},
    {"IP.ADDRESS", 0x20, &vdt_record::address},
    {"UNIT.SERIAL", same_serial, &vdt_record::serial},
});

// Texts seen so far, each with the record that had it first: a hash table of open addressing.
class seen_texts {
 public:
  explicit seen_texts(std::size_t records)
      : mask_(std::bit_ceil(2 * records + 1) - 1), entries_(zeroed_array<entry>(mask_ + 1)) {}

  [[nodiscard]] explicit operator bool() const { return entries_ != nullptr; }

  // Returns the first record with an equal text: this one when the text is new.
  std::uint32_t first_with(const identity_text& text, std::uint32_t record) {
    const std::string_view wanted = text.view();
    const std::uint32_t hash = hash_of(wanted);
    std::size_t place = hash & mask_;
    for (; entries_[place].text != nullptr; place = (place + 1) & mask_) {
      const entry& seen = entries_[place];
      if (seen.hash == hash && equal_no_case(seen.text->view(), wanted)) return seen.record;
    }
    entries_[place] = {&text, hash, record};
    return record;
  }

 private:
  struct entry {
    const identity_text* text;
    std::uint32_t hash;
    std::uint32_t record;
  };

  static std::uint32_t hash_of(std::string_view text) {
    std::uint32_t hash = 0x811c9dc5;
    for (const char character : text) {
      hash = (hash ^ static_cast<unsigned char>(to_lower(character))) * 0x01000193;
    }
    return hash ^ hash >> 15;
  }

  std::size_t mask_;
  zeroed_pointer<entry> entries_;
};

// The two tables under a check. `text` is what a record holds for an identity, null when it holds nothing; `mark`
// notes that another record holds the same.
class unit_identities {
 public:
  static constexpr const char* name = "vdt";

  [[nodiscard]] static std::size_t count() { return static_cast<std::size_t>(vdt_count); }
  [[nodiscard]] static const identity_text* text(std::size_t record, std::size_t which) {
    return &(vdt[record].*identities[which].text);
  }
  static void mark(std::size_t record, std::size_t which) { vdt[record].flags |= identities[which].mark; }
};

class record_identities {
 public:
  static constexpr const char* name = "kvp";

  // Finds the columns that bear an identity's key: of them, a record takes part with the first that it holds.
  record_identities() {
    for (std::size_t which = 0; which < identities.size(); ++which) {
      for (std::size_t column = 0; column < static_cast<std::size_t>(import_header_count); ++column) {
        const bool bears = equal_no_case(import_header_table[column].key.view(), identities[which].key);
        if (bears) columns_[which].numbers[columns_[which].count++] = column;
      }
    }
  }

  [[nodiscard]] static std::size_t count() {
    return static_cast<std::size_t>(kvp_table ? current_record : 0);
  }
  [[nodiscard]] const identity_text* text(std::size_t record, std::size_t which) const {
    const key_header_entry* found = slot(record, which);
    return found != nullptr ? &found->value : nullptr;
  }
  void mark(std::size_t record, std::size_t which) const {
    std::uint16_t& status = slot(record, which)->status;
    status = static_cast<std::uint16_t>(status | identities[which].mark);
    std::uint16_t& flags = kvp_table[record].record_flags;
    flags = static_cast<std::uint16_t>(flags | duplicate_record);
  }

 private:
  struct column_list {
    std::array<std::size_t, header_slots> numbers;
    std::size_t count = 0;
  };

  [[nodiscard]] key_header_entry* slot(std::size_t record, std::size_t which) const {
    for (const std::size_t column : std::span{columns_[which].numbers}.first(columns_[which].count)) {
      key_header_entry& held = kvp_table[record].slots[column];
      if (!held.key.empty()) return &held;
    }
    return nullptr;
  }

  std::array<column_list, identities.size()> columns_;
};

// A record that shares an identity, and the first one that shares it: from that one's turn on the record bears
// a mark.
struct twin {
  std::uint32_t record;
  std::uint32_t marked_in_turn;
};

constexpr std::uint32_t no_turn = UINT32_MAX;

// Marks the records that share the identity and notes the turn in which each gets its mark.
// Returns false without memory.
template <typename Table>
bool mark_equals(const Table& table, std::size_t which, std::span<std::uint32_t> turns) {
  seen_texts seen{turns.size()};
  if (!seen) return false;
  for (std::uint32_t record = 0; record < turns.size(); ++record) {
    const identity_text* text = table.text(record, which);
    if (text == nullptr) continue;
    const std::uint32_t first = seen.first_with(*text, record);
    if (first == record) continue;
    table.mark(first, which);
    table.mark(record, which);
    turns[record] = std::min(turns[record], first);
    turns[first] = std::min(turns[first], record);
  }
  return true;
}

// Finds the marked records, ordered by the turn in which they get their mark. Returns false without memory.
template <typename Table>
bool find_twins(const Table& table, growing_array<twin>& twins) {
  const auto turns = zeroed_array<std::uint32_t>(table.count() + 1);
  if (!turns) return false;
  const std::span marked_in_turn{turns.get(), table.count()};
  std::ranges::fill(marked_in_turn, no_turn);
  for (std::size_t which = 0; which < identities.size(); ++which) {
    if (!mark_equals(table, which, marked_in_turn)) return false;
  }
  for (std::uint32_t record = 0; record < marked_in_turn.size(); ++record) {
    if (marked_in_turn[record] == no_turn) continue;
    if (!twins.append({record, marked_in_turn[record]})) return false;
  }
  std::ranges::sort(twins.items(), [](const twin& left, const twin& right) {
    return left.marked_in_turn != right.marked_in_turn ? left.marked_in_turn < right.marked_in_turn
                                                       : left.record < right.record;
  });
  return true;
}

// The lines of one turn: they differ in their last number.
class pair_line {
 public:
  pair_line(const char* table, std::uint32_t turn) {
    const int length = std::snprintf(text_.data(), text_.size(),
                                     "     duplicate_check_%s(): Duplicate Device DATA %u ", table, turn);
    number_ = text_.data() + length;
  }

  std::string_view with(std::uint32_t record) {
    char* end = std::to_chars(number_, text_.data() + text_.size() - 2, record).ptr;
    *end++ = ' ';
    *end++ = '\n';
    return {text_.data(), static_cast<std::size_t>(end - text_.data())};
  }

 private:
  std::array<char, 96> text_;
  char* number_;
};

// Logs every pair whose second record bears a mark by then. The first `marked` twins do, in the order of their
// records.
void log_pairs(const char* table, std::size_t records, std::span<twin> twins) {
  trace_block log{unit::site_log};
  std::size_t marked = 0;
  const std::uint32_t first_turn = twins.empty() ? 0 : twins.front().marked_in_turn;
  for (std::uint32_t turn = first_turn; !twins.empty() && turn < records; ++turn) {
    const std::size_t before = marked;
    while (marked < twins.size() && twins[marked].marked_in_turn == turn) ++marked;
    const auto start = twins.begin();
    std::inplace_merge(start, start + static_cast<std::ptrdiff_t>(before),
                       start + static_cast<std::ptrdiff_t>(marked),
                       [](const twin& left, const twin& right) { return left.record < right.record; });
    pair_line line{table, turn};
    for (const twin& second : twins.first(marked)) {
      if (second.record != turn && !log.append(line.with(second.record))) return;
    }
  }
}

// Returns false when there was no memory for it.
template <typename Table>
bool check_duplicates(const Table& table) {
  growing_array<twin> twins;
  if (!find_twins(table, twins)) return false;
  log_pairs(Table::name, table.count(), twins.items());
  return true;
}

void log_text(const char* text) {
  site_message message;
  message.assign_cut(text);
  append_message(message);
}

}  // namespace

void duplicate_check_vdt() {
  log_text("    BEGIN duplicate_check_vdt():");
  if (!vdt) {
    log_text("    SKIP duplicate_check_vdt(): NO VDT");
    return;
  }
  // Without memory the units stay unmarked, which changes nothing but the log.
  static_cast<void>(check_duplicates(unit_identities{}));
  log_text("    END duplicate_check_vdt():");
}

void duplicate_check_kvp() {
  log_text("    BEGIN duplicate_check_kvp():");
  if (!check_duplicates(record_identities{})) kvp_free();
  log_text("    END duplicate_check_kvp():");
}

int check_device_valid(std::string_view serial) {
  site_message message;
  const auto log = [&message] { append_message(message); };
  const int length = static_cast<int>(serial.size());
  if (serial.empty() || serial.size() >= key_size || !vdt) {
    message.print("   check_device_valid(%.*s) Invalid Input %d or no VDT", length, serial.data(), -1);
    log();
    return -1;
  }
  const std::span units{vdt.get(), static_cast<std::size_t>(vdt_count)};
  const auto found = std::ranges::find_if(
      units, [serial](const vdt_record& unit) { return equal_no_case(unit.serial.view(), serial); });
  if (found == units.end()) {
    message.print("   check_device_valid(%.*s) Device Not Found in Valid Device Table %d %d", length,
                  serial.data(), -1, vdt_count);
    log();
    return -1;
  }
  const int index = static_cast<int>(found - units.begin());
  message.print("   check_device_valid(%.*s~%s) %d %d", length, serial.data(), found->serial.c_str(), index,
                vdt_count);
  log();
  if ((found->flags & same_serial) != 0) {
    message.print("   check_device_valid(%.*s) Duplicate Device DATA %d %d", length, serial.data(), -3,
                  index);
    log();
    return -3;
  }
  if ((found->flags & claimed) != 0) {
    message.print("   check_device_valid(%.*s) Duplicate Device Found %d %d", length, serial.data(), -2,
                  index);
    log();
    return -2;
  }
  found->flags |= claimed;
  return index;
}
