// A unit whose neighbours answer at once, and a request for each command: all commands can be tried again and
// again, as none takes longer than its tools do.

#pragma once

#include <array>
#include <functional>
#include <ostream>
#include <string>
#include <vector>

#include "support/fake_network.hpp"
#include "support/files.hpp"
#include "support/program.hpp"

struct known_command {
  std::string name;
  std::string body;  // of its answer at a quick_site that lacks nothing
  bool uploads() const { return name.starts_with("UPDATE_") || name == "CSV_IMPORT"; }
};

// The 17 commands, in an order in which the later ones find what the earlier ones leave.
extern const std::array<known_command, 17> every_command;

// What is not as at a quick_site that lacks nothing.
enum class part {
  body,    // the lines inside the page
  answer,  // all of it: there is no page around the lines, or nothing at all
  status,
  standard_error,
  link,  // the state that the video link was left in
  left,  // a temporary file that was left
};
struct difference {
  std::string command;
  part what;
  std::string text;
  bool operator==(const difference&) const = default;
};
std::ostream& operator<<(std::ostream& out, const difference& shown);
using difference_list = std::vector<difference>;

class quick_site {
 public:
  // An encoder and a decoder answer with these words among their values. The unit S1 takes what it is sent.
  explicit quick_site(const std::string& words = "x");

  // Runs a request among these units. A firmware update that it starts has ended afterwards.
  answer run(const request& sent, const std::function<void(pid_t)>& meanwhile = {}) const;

  // Asks for every command, after a change to its request, or in another way than by the program itself.
  [[nodiscard]] difference_list differences(const std::function<void(request&)>& change = {}) const;
  [[nodiscard]] difference_list differences_when(
      const std::function<answer(const known_command&)>& asked) const;

 private:
  answer while_serving(const std::function<answer()>& asked) const;

  fake_network network_;
};

// The CSV of 256 bytes that an upload brings. By it, the unit S1 gets these words as its id.
std::string uploaded_csv(const std::string& words = "f");

// The request for a command. An upload brings the CSV with these words, in a file of that name.
request ask(const std::string& command, const std::string& words = "f");
