// One simulated unit: its parameters, the saved ones, and its reboot.
//   running   what it reports; settings change it at once
//   saved     what it has after a reboot; SAVE=TRUE copies running to it
//   address   a new IP.ADDRESS and its netmask, gateway and DNS server wait in IP.STATIC_* until the reboot
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

using moment = std::chrono::steady_clock::time_point;  // not affected by setting the date

// Whether an answer reports values or acknowledges a request.
enum class answer_kind : std::uint8_t { query, acknowledgement };

// What a unit answers, before it is cut into datagrams.
struct answer {
  answer_kind kind;
  std::string text;
  bool reboots;  // the unit restarts after this was sent
};

class unit {
 public:
  // `index` is the unit's position in the fleet.
  unit(unit_description description, std::size_t index);

  [[nodiscard]] std::uint32_t address() const { return address_; }
  [[nodiscard]] const faults& behaviour() const { return behaviour_; }
  [[nodiscard]] std::string_view value(std::string_view key) const { return value_of(running_, key); }

  // True when the target is ALL or this unit's serial.
  [[nodiscard]] bool is_meant(std::string_view target) const;

  // Acts on the request and returns the answer, or nothing when the unit stays silent.
  [[nodiscard]] std::optional<answer> act_on(const request& asked);

  // Starts a reboot: after `from` the unit is silent for its reboot time.
  void restart(moment from);
  // Ends a reboot whose time is over at `now`: saved settings and address take effect.
  void advance_to(moment now);
  [[nodiscard]] bool is_down(moment when) const;
  // The parameters after the next start: the saved ones, with the addresses that take effect then.
  [[nodiscard]] parameters after_restart() const;

 private:
  void set(const request_pair& setting);
  void start_saved();
  [[nodiscard]] std::string query_text(const request& asked) const;
  [[nodiscard]] std::string all_text() const;
  // The address that an encoder streams to. Empty for a decoder.
  [[nodiscard]] std::string_view stream_address() const;
  [[nodiscard]] std::string acknowledgement(std::string_view result);

  std::size_t index_;
  faults behaviour_;
  parameters running_, saved_, started_;  // started: at the last start
  std::uint32_t address_;
  std::size_t acknowledgements_ = 0;  // sent so far
  std::optional<moment> down_from_;   // set during a reboot, and before one that is due
};

}  // namespace fleet
