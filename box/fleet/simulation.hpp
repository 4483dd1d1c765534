// The fleet at work: takes requests from the network to the units they mean and sends the answers when they
// are due, with the faults that the units have.
#pragma once

#include <csignal>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <ostream>
#include <vector>

#include "network.hpp"
#include "options.hpp"
#include "schedule.hpp"
#include "unit.hpp"

namespace fleet {

enum class run_end : std::uint8_t { stopped, restart, failed };

class simulation {
 public:
  // `self` is the index of this unit itself, which 127.0.0.1 means too. `log` takes a line for each request:
  // the address it was sent to and its text; if so chosen also one for each datagram sent: ">", the address
  // it comes from and its text. Options, network and log must outlive the simulation.
  simulation(const options& chosen, std::vector<unit> units, std::optional<std::size_t> self, network& wire,
             std::ostream& log);

  // Runs until a signal sets `stop`, or until this unit restarts when its settings are kept in a file.
  [[nodiscard]] run_end run(const volatile std::sig_atomic_t& stop);

 private:
  // What a unit has sent so far.
  struct progress {
    unsigned answers = 0;
    std::uint64_t datagrams = 0;
  };

  [[nodiscard]] bool wait() const;
  void receive_requests();
  void send_due();

  void handle(const received_datagram& received);
  void handle_group(const received_datagram& received, const request& asked, moment now);
  void handle_single(const received_datagram& received, const request& asked, moment now);
  // Lets one unit act and plans its answer. `rank` is its place among the units that answer.
  [[nodiscard]] std::vector<planned_send> plan(const received_datagram& received, const request& asked,
                                               std::size_t index, std::size_t rank, moment now);
  [[nodiscard]] moment first_due(std::size_t index, answer_kind kind, std::size_t rank, moment now) const;

  // Saves what this unit keeps over a restart. Returns false when that failed.
  [[nodiscard]] bool keep(std::size_t index, const request& asked) const;

  void send(planned_send planned);
  void put_on_wire(const datagram& outgoing);
  void count_answer(const planned_send& planned);
  [[nodiscard]] bool is_lost(std::size_t index);

  const options& options_;
  std::vector<unit> units_;
  std::vector<progress> progress_;  // parallel to units_
  unsigned answers_ = 0;            // of the whole fleet
  std::optional<std::size_t> self_;
  network& wire_;
  std::ostream& log_;
  schedule schedule_;
  std::optional<moment> restart_at_;  // of this unit, when its settings are kept in a file
};

}  // namespace fleet
