// One simulated unit: its parameters, what it saved of them, and its way through a reboot.
//   running   what it reports; settings change it at once
//   saved     what a reboot brings back; SAVE=TRUE copies running into it
//   address   a new IP.ADDRESS and its companions wait in IP.STATIC_* and come alive with the reboot
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "message.hpp"
#include "parameters.hpp"

namespace fleet {

using moment = std::chrono::steady_clock::time_point;  // a changed date moves no answer

enum class answer_kind : std::uint8_t { query, acknowledgement };

struct answer {
  answer_kind kind;
  std::string text;
  bool reboots;  // the unit restarts once this has been sent
};

class unit {
 public:
  // `index` is the unit's place in the fleet.
  unit(unit_description description, std::size_t index);

  [[nodiscard]] std::uint32_t address() const { return address_; }
  [[nodiscard]] const faults& behaviour() const { return behaviour_; }
  [[nodiscard]] std::string_view value(std::string_view key) const { return value_of(running_, key); }

  // Whether ALL, NONE or a serial means this unit. An empty target means nobody.
  [[nodiscard]] bool is_meant(std::string_view target) const;

  // Acts on a request and returns the answer, or nothing where the unit stays silent.
  [[nodiscard]] std::optional<answer> act_on(const request& asked);

  // From `from` on, exclusive, the unit is silent for its reboot time.
  void restart(moment from);
  // Brings the unit back when its reboot is over at `now`: saved settings and address are then alive.
  void advance_to(moment now);
  [[nodiscard]] bool is_down(moment when) const;
  // What the unit knows after its next start: what it saved, with the addresses that come alive then.
  [[nodiscard]] parameters after_restart() const;

 private:
  void set(const request_pair& setting);
  void start_saved();
  [[nodiscard]] std::string query_text(const request& asked) const;
  [[nodiscard]] std::string all_text() const;
  // The address that an encoder streams to; empty for others.
  [[nodiscard]] std::string_view stream_address() const;
  [[nodiscard]] std::string acknowledgement(std::string_view result);

  std::size_t index_;
  faults behaviour_;
  parameters running_, saved_, started_;  // started: as at the last start
  std::uint32_t address_;
  std::size_t acknowledgements_ = 0;  // sent so far
  std::optional<moment> down_from_;   // set while a reboot is due or going on
};

}  // namespace fleet
