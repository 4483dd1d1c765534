#include "simulation.hpp"

#include <poll.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <ctime>
#include <iterator>
#include <string>
#include <string_view>
#include <utility>

#include "address.hpp"
#include "hostile.hpp"
#include "kept_settings.hpp"

namespace fleet {

namespace {

using std::chrono::microseconds;
using std::chrono::milliseconds;

// The number of requests or answers handled in a row: a flood of one kind must not delay the other.
constexpr int most_in_a_row = 64;
constexpr milliseconds longest_wait{200};

// A pseudo-random number, always the same for the same three arguments.
std::uint64_t scatter(std::uint64_t seed, std::uint64_t unit, std::uint64_t turn) {
  std::uint64_t number = seed * 0x9e3779b97f4a7c15U + unit * 0xd1342543de82ef95U + turn;
  number = (number ^ number >> 30U) * 0xbf58476d1ce4e5b9U;
  number = (number ^ number >> 27U) * 0x94d049bb133111ebU;
  return number ^ number >> 31U;
}

std::string log_line(const char* mark, std::uint32_t address, std::string_view text) {
  return mark + address_text(address) + " " + printable(text) + "\n";
}

}  // namespace

simulation::simulation(const options& chosen, std::vector<unit> units, std::optional<std::size_t> self,
                       network& wire, std::ostream& log)
    : options_{chosen},
      units_{std::move(units)},
      progress_(units_.size()),
      self_{self},
      wire_{wire},
      log_{log} {}

run_end simulation::run(const volatile std::sig_atomic_t& stop) {
  while (stop == 0) {
    if (!wait()) return run_end::failed;
    receive_requests();
    send_due();
    if (restart_at_ && *restart_at_ < std::chrono::steady_clock::now()) return run_end::restart;
  }
  return run_end::stopped;
}

// Waits for a request or for the next answer's time. At most 200 ms, because a signal that comes just before
// the wait does not interrupt it.
bool simulation::wait() const {
  const moment now = std::chrono::steady_clock::now();
  const moment due = std::min(schedule_.next_due().value_or(moment::max()), now + longest_wait);
  timespec left{};
  left.tv_nsec = static_cast<long>(std::max(due - now, moment::duration{0}).count());
  pollfd readable{wire_.descriptor(), POLLIN, 0};
  return ppoll(&readable, 1, &left, nullptr) >= 0 || errno == EINTR;
}

void simulation::receive_requests() {
  for (int turn = 0; turn < most_in_a_row; ++turn) {
    const std::optional<received_datagram> received = wire_.receive();
    if (!received) return;
    handle(*received);
  }
}

void simulation::send_due() {
  for (int turn = 0; turn < most_in_a_row; ++turn) {
    std::optional<planned_send> planned = schedule_.take(std::chrono::steady_clock::now());
    if (!planned) return;
    send(std::move(*planned));
  }
}

void simulation::handle(const received_datagram& received) {
  log_ << log_line("", received.to, received.text) << std::flush;
  const std::optional<request> asked = read_request(received.text);
  if (!asked) return;
  const moment now = std::chrono::steady_clock::now();
  for (unit& each : units_) each.advance_to(now);
  if (is_multicast(received.to)) {
    handle_group(received, *asked, now);
  } else {
    handle_single(received, *asked, now);
  }
}

// Gives a request to every unit. Units that stay silent get no place in the pace.
void simulation::handle_group(const received_datagram& received, const request& asked, moment now) {
  std::vector<planned_send> batch;
  std::size_t rank = 0;
  for (std::size_t index = 0; index < units_.size(); ++index) {
    std::vector<planned_send> planned = plan(received, asked, index, rank, now);
    if (!planned.empty()) ++rank;
    std::ranges::move(planned, std::back_inserter(batch));
  }
  if (options_.interleave) interleave(batch);
  for (planned_send& planned : batch) schedule_.add(std::move(planned));
}

// Gives a request to the unit at its destination address. Of several units at one address only the first gets
// it, as on a real network, where one of them wins the address.
void simulation::handle_single(const received_datagram& received, const request& asked, moment now) {
  for (std::size_t index = 0; index < units_.size(); ++index) {
    const bool is_self = index == self_ && received.to == loopback_address;
    if (units_[index].address() != received.to && !is_self) continue;
    for (planned_send& planned : plan(received, asked, index, 0, now)) schedule_.add(std::move(planned));
    return;
  }
}

std::vector<planned_send> simulation::plan(const received_datagram& received, const request& asked,
                                           std::size_t index, std::size_t rank, moment now) {
  unit& asked_unit = units_[index];
  if (asked_unit.is_down(now) || !asked_unit.is_meant(asked.target)) return {};
  const std::optional<answer> said = asked_unit.act_on(asked);
  if (!said || !keep(index, asked)) return {};

  const faults& behaviour = asked_unit.behaviour();
  const milliseconds gap{behaviour.gap_ms};
  datagram outgoing{received.from, is_multicast(received.to) ? asked_unit.address() : received.to, {}};
  if (said->kind == answer_kind::acknowledgement && behaviour.answer_from != 0) {
    outgoing.from = behaviour.answer_from;
  }
  moment due = first_due(index, said->kind, rank, now);
  std::vector<planned_send> planned;
  const auto add = [&](std::string text, bool ends_answer, unsigned repeats) {
    outgoing.text = std::move(text);
    planned.push_back({due, index, outgoing, planned.size(), ends_answer, repeats, gap});
    due += gap;
  };

  const bool is_scripted = said->kind == answer_kind::acknowledgement && !behaviour.acknowledge_with.empty();
  const auto pieces = is_scripted
                          ? split_script(behaviour.acknowledge_with)
                          : split_answer(hostile_text(said->text, behaviour.hostile, index), behaviour.split);
  for (unsigned copy = 0; copy < behaviour.duplicate; ++copy) {
    for (std::size_t piece = 0; piece < pieces.size(); ++piece) {
      add(pieces[piece], piece + 1 == pieces.size(), 1);
    }
  }
  if (said->reboots) {
    // The unit goes down after its last datagram, so that the acknowledgement still gets out.
    asked_unit.restart(planned.back().due);
    if (index == self_ && !options_.kept_file.empty()) restart_at_ = planned.back().due;
  }
  if (said->kind == answer_kind::query && behaviour.flood > 0) {
    add("UNIT.SERIAL=" + std::string{asked_unit.value("UNIT.SERIAL")} + "&FLOOD=TRUE", false,
        behaviour.flood);
  }
  return planned;
}

bool simulation::keep(std::size_t index, const request& asked) const {
  if (index != self_ || options_.kept_file.empty() || !asks_for(asked, step::save)) return true;
  return write_kept(options_.kept_file, units_[index].after_restart());
}

// When the unit's first datagram is sent: delay, jitter, and the pace by its rank. A burst has neither of the
// last two.
moment simulation::first_due(std::size_t index, answer_kind kind, std::size_t rank, moment now) const {
  const faults& behaviour = units_[index].behaviour();
  moment due = now + milliseconds{behaviour.delay_ms};
  if (kind == answer_kind::acknowledgement) due += milliseconds{behaviour.late_ms};
  if (options_.burst) return due;
  const std::uint64_t jitter_us = scatter(options_.seed, index, 0) % (behaviour.jitter_ms * 1000ULL + 1);
  return due + microseconds{jitter_us} + microseconds{rank * std::uint64_t{options_.pace_us}};
}

void simulation::send(planned_send planned) {
  if (units_[planned.unit].is_down(planned.due)) return;
  if (!is_lost(planned.unit)) put_on_wire(planned.what);
  if (planned.ends_answer) count_answer(planned);
  if (--planned.repeats == 0) return;
  planned.due += planned.gap;
  schedule_.add(std::move(planned));
}

void simulation::put_on_wire(const datagram& outgoing) {
  if (!wire_.send(outgoing) || !options_.log_answers) return;
  log_ << log_line("> ", outgoing.from, outgoing.text) << std::flush;
}

// Sends the empty datagram after the chosen answer. A unit with a value of its own counts its own answers,
// otherwise those of the whole fleet are counted.
void simulation::count_answer(const planned_send& planned) {
  const unsigned wanted = units_[planned.unit].behaviour().empty_at;
  const bool counts_alone = wanted != options_.every_unit.empty_at;
  ++answers_;
  const unsigned own = ++progress_[planned.unit].answers;
  if (wanted == 0 || wanted != (counts_alone ? own : answers_)) return;
  put_on_wire({planned.what.to, planned.what.from, {}});
}

bool simulation::is_lost(std::size_t index) {
  const std::uint64_t turn = ++progress_[index].datagrams;
  return scatter(options_.seed, index, turn) % 100 < units_[index].behaviour().loss_percent;
}

}  // namespace fleet
