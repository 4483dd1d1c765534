#include "faults.hpp"

#include <algorithm>
#include <array>
#include <charconv>
#include <type_traits>

#include "address.hpp"

namespace fleet {

namespace {

constexpr unsigned hour_ms = 3'600'000;

// The words of each enumeration, in its order.
constexpr auto silent_words = std::to_array<std::string_view>({"none", "query", "set", "save", "reboot"});
constexpr auto refuse_words = std::to_array<std::string_view>({"none", "query", "set", "save"});
constexpr auto spelling_words = std::to_array<std::string_view>({"api", "status", "mixed"});
constexpr auto hostile_words =
    std::to_array<std::string_view>({"none", "all", "shell", "length", "pairs", "joined", "bytes"});

// The setters of the table. Each returns false for a value that does not fit.
template <unsigned faults::*Member, unsigned Least, unsigned Most>
bool number(faults& unit, std::string_view value) {
  return read_number(value, Least, Most, unit.*Member);
}

template <auto Member, const auto& Words>
bool choice(faults& unit, std::string_view word) {
  const auto found = std::ranges::find(Words, word);
  if (found == Words.end()) return false;
  using chosen = std::remove_reference_t<decltype(unit.*Member)>;
  unit.*Member = static_cast<chosen>(found - Words.begin());
  return true;
}

bool hostile(faults& unit, std::string_view kind) {
  return choice<&faults::hostile, hostile_words>(unit, kind.empty() ? "all" : kind);
}

bool answer_from(faults& unit, std::string_view address) {
  unit.answer_from = read_address(address).value_or(0);
  return unit.answer_from != 0;
}

bool acknowledge_with(faults& unit, std::string_view datagrams) {
  unit.acknowledge_with = datagrams;
  return true;
}

constexpr auto fault_rows = std::to_array<fault_row>({
    {"delay-ms", "MS", "wait before each answer", number<&faults::delay_ms, 0, hour_ms>},
    {"jitter-ms", "MS", "up to MS more, a fixed share of it for each unit",
     number<&faults::jitter_ms, 0, hour_ms>},
    {"late-ms", "MS", "further wait before an acknowledgement", number<&faults::late_ms, 0, hour_ms>},
    {"gap-ms", "MS", "wait between two datagrams of one unit", number<&faults::gap_ms, 0, hour_ms>},
    {"reboot-ms", "MS", "silence after a reboot (2000)", number<&faults::reboot_ms, 0, hour_ms>},
    {"loss-percent", "N", "lose N of 100 datagrams", number<&faults::loss_percent, 0, 100>},
    {"duplicate", "N", "send each answer N times", number<&faults::duplicate, 1, 1000>},
    {"split", "BYTES", "cut answers longer than BYTES after an \"&\" (1400)",
     number<&faults::split, 1, 65'507>},
    {"empty-at", "N", "an empty datagram after the fleet's N-th answer (as a column: the unit's)",
     number<&faults::empty_at, 0, 1'000'000>},
    {"flood", "N", "N further datagrams, a gap apart, after the answer to a query",
     number<&faults::flood, 0, 100'000'000>},
    {"silent-at", "STEP", "none|query|set|save|reboot: neither act nor answer",
     choice<&faults::silent_at, silent_words>},
    {"refuse-at", "STEP", "none|query|set|save: do not act, answer API=FAIL",
     choice<&faults::refuse_at, refuse_words>},
    {"ack-spelling", "WORD", "api|status|mixed (mixed): API=SUCCESS, API.STATUS=SUCCESS or both in turn",
     choice<&faults::spelling, spelling_words>},
    {"answer-from", "ADDRESS", "acknowledge from this address", answer_from},
    {"acknowledge-with", "TEXTS",
     "acknowledge with these datagrams, \"|\" between them; an empty text is an empty datagram",
     acknowledge_with},
    {"hostile", "[=KIND]", "none|all|shell|length|pairs|joined|bytes (all): unsafe or malformed texts",
     hostile},
});

}  // namespace

std::span<const fault_row> fault_table() {
  return fault_rows;
}

bool set_fault(faults& of_unit, std::string_view name, std::string_view value) {
  const auto row = std::ranges::find(fault_rows, name, &fault_row::name);
  return row != fault_rows.end() && row->set(of_unit, value);
}

bool read_number(std::string_view text, unsigned least, unsigned most, unsigned& number) {
  unsigned read = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), read);
  if (error != std::errc{} || end != text.data() + text.size()) return false;
  if (read < least || read > most) return false;
  number = read;
  return true;
}

}  // namespace fleet
