// The running fleet: passes requests from the network to the units that they address, and sends the answers
// when they are due, with each unit's faults.
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

// Why a run ended: a signal, this unit's restart, or a failed poll.
enum class run_end : std::uint8_t { stopped, restart, failed };

class simulation {
 public:
  // `self` is the index of this unit itself, which also has the address 127.0.0.1. `log` gets a line for each
  // request with its destination address and text and, when the options say so, one for each datagram sent
  // with ">", its source address and text. Options, network and log must outlive the simulation.
  simulation(const options& chosen, std::vector<unit> units, std::optional<std::size_t> self, network& wire,
             std::ostream& log);

  // Runs until a signal sets `stop`, or until this unit restarts while its settings are kept in a file.
  [[nodiscard]] run_end run(const volatile std::sig_atomic_t& stop);

 private:
  // How much a unit has sent so far.
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
  // Lets a unit act on the request and plans its answer. `rank` is its position among the units that answer.
  [[nodiscard]] std::vector<planned_send> plan(const received_datagram& received, const request& asked,
                                               std::size_t index, std::size_t rank, moment now);
  [[nodiscard]] moment first_due(std::size_t index, answer_kind kind, std::size_t rank, moment now) const;

  // Saves the settings that this unit keeps over a restart. Returns false when that failed.
  [[nodiscard]] bool keep(std::size_t index, const request& asked) const;

  void send(planned_send planned);
  void put_on_wire(const datagram& outgoing);
  void count_answer(const planned_send& planned);
  [[nodiscard]] bool is_lost(std::size_t index);

  const options& options_;
  std::vector<unit> units_;
  std::vector<progress> progress_;  // parallel to units_
  unsigned answers_ = 0;            // sent by the whole fleet
  std::optional<std::size_t> self_;
  network& wire_;
  std::ostream& log_;
  schedule schedule_;
  std::optional<moment> restart_at_;  // when this unit goes down; only with a kept file
};

}  // namespace fleet
