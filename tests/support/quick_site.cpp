#include "support/quick_site.hpp"

namespace {

std::string answer_of(const std::string& unit, const std::string& model, const std::string& words) {
  return "UNIT.ID=U" + unit + "&X=" + words + "&UNIT.MODEL=" + model + "&IP.ADDRESS=10.77.1." + unit + "&";
}

bool is_only_line(const std::string& text) {
  return text.starts_with("Request Method: ") && text.find('\n') == text.size() - 1;
}

// Adds the link's state and the temporary files that a command should not have left.
void add_remains(const std::string& command, difference_list& found) {
  const std::string link = read_file("/var/link");
  const bool updates = command == "UPDATE_FIRMWARE";
  if (link != (updates ? "stopped\n" : "running\n")) found.push_back({command, part::link, link});
  for (const std::string& file : list_folder("/dev/shm")) {
    if (file.starts_with("cgic")) found.push_back({command, part::left, file});
  }
}

}  // namespace

std::string uploaded_csv(const std::string& words) {
  const std::string columns = "UNIT.SERIAL,UNIT.MODEL,UNIT.ID,";
  const std::string row = "\r\nS1,TX610," + words + ",\r\n";
  return columns + std::string(256 - columns.size() - row.size(), 'X') + row;
}

const std::array<known_command, 17> every_command{{
    {"UPDATE_FIRMWARE", "<p>Updating firmware ret:0</p>\n"},
    {"UPDATE_EDID", "<p>Updating edid</p>\n"},
    {"UPDATE_EDID1", ""},
    {"UPDATE_EDID2", ""},
    {"UPDATE_EDID3", ""},
    {"UPDATE_SPLASH", "<p>Updating splash</p>\n"},
    {"DISCOVER_ENCODERS", "MYSELF,10.77.0.1,239.77.0.1\nU1,10.77.1.1,\n"},
    {"DISCOVER_DECODERS", "U2,10.77.1.2,,\n"},
    {"DISCOVER_DEVICES_API", ""},
    {"GET_CSV_DISCOVER",
     "DISCOVERED CSV DATA: Total=2&Ecount=1&Dcount=1~~~\n\n"
     "UNIT.ID,UNIT.SERIAL,UNIT.MODEL\r\nU1,,TX610\r\nU2,,RX610\r\n"},
    {"CSV_IMPORT", "<p>Importing csv</p>\n"},
    {"GET_CSV_IMPORT", uploaded_csv()},
    {"PERFORM_CSV_IMPORT", ""},
    {"PERFORM_CSV_UPDATE", "Update Device #0 @  Result is OK\n"},
    {"CHECK_IMPORT_CSV_STATUS", "true"},
    {"DISCOVER_DEVICES", ""},
    {"GET_NODES", "Device Listing:\nIP Name\n"},
}};

quick_site::quick_site(const std::string& words)
    : network_({{.text = answer_of("1", "TX610", words), .from = "10.77.1.1"},
                {.text = answer_of("2", "RX610", words), .from = "10.77.1.2"},
                {.text = ""}}) {
  write_file("/etc/keys.txt", "UNIT.ID\nUNIT.SERIAL\nUNIT.MODEL\n");
}

answer quick_site::run(const request& sent, const std::function<void(pid_t)>& meanwhile) const {
  return while_serving([&] { return run_program(sent, meanwhile); });
}

// The script is known by its command line: its shell has that one from the start.
answer quick_site::while_serving(const std::function<answer()>& asked) const {
  const fake_service service{{{"API=SUCCESS"}, {"API=SUCCESS"}}};
  answer got = asked();
  wait_until("! pgrep -f '[u]pdate_fw.sh' > /dev/null");
  return got;
}

difference_list quick_site::differences(const std::function<void(request&)>& change) const {
  return differences_when([&change](const known_command& command) {
    request sent = ask(command.name);
    if (change) change(sent);
    return run_program(sent);
  });
}

difference_list quick_site::differences_when(const std::function<answer(const known_command&)>& asked) const {
  difference_list found;
  for (const known_command& command : every_command) {
    const answer got = while_serving([&] { return asked(command); });
    const std::string body = body_of(command.name, got.out);
    const bool is_page = got.out == page(command.name, body);
    if (!is_page || body != command.body) {
      found.push_back({command.name, is_page ? part::body : part::answer, body});
    }
    if (got.status != 0) found.push_back({command.name, part::status, std::to_string(got.status)});
    if (!got.err.empty() && !is_only_line(got.err)) {
      found.push_back({command.name, part::standard_error, got.err});
    }
    add_remains(command.name, found);
  }
  return found;
}

std::ostream& operator<<(std::ostream& out, const difference& shown) {
  constexpr std::array names{"body", "answer", "status", "standard error", "link", "left"};
  return out << shown.command << " " << names[static_cast<std::size_t>(shown.what)] << ": " << shown.text;
}

request ask(const std::string& command, const std::string& words) {
  const bool uploads = known_command{command, {}}.uploads();
  request sent = uploads ? post_file(command, uploaded_csv(words), words) : get("CMD=" + command);
  sent.environment["UPDATE_FW_SECONDS"] = "0";
  return sent;
}
