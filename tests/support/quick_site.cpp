#include "support/quick_site.hpp"

namespace {

std::string answer_of(const std::string& unit, const std::string& model, const std::string& words) {
  return "UNIT.ID=U" + unit + "&X=" + words + "&UNIT.MODEL=" + model + "&IP.ADDRESS=10.77.1." + unit + "&";
}

bool is_only_line(const std::string& text) {
  return text.starts_with("Request Method: ") && text.find('\n') == text.size() - 1;
}

// What a command has left undone, or behind.
void add_remains(const std::string& name, lines& found) {
  const std::string link = read_file("/var/link");
  const bool updates = name == "UPDATE_FIRMWARE";
  if (link != (updates ? "stopped\n" : "running\n")) found.push_back(name + " link " + link);
  for (const std::string& file : list_folder("/dev/shm")) {
    if (file.starts_with("cgic")) found.push_back(name + " left " + file);
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

lines quick_site::differences(const std::function<void(request&)>& change) const {
  return differences_behind([&change](const known_command& command) {
    request sent = ask(command.name);
    if (change) change(sent);
    return run_program(sent);
  });
}

lines quick_site::differences_behind(const std::function<answer(const known_command&)>& asked) const {
  lines found;
  for (const known_command& command : every_command) {
    const answer got = while_serving([&] { return asked(command); });
    const std::string body = got.out.empty() ? "no answer" : body_of(command.name, got.out);
    if (body != command.body) found.push_back(command.name + ": " + body);
    if (got.status != 0) found.push_back(command.name + " status " + std::to_string(got.status));
    if (!got.err.empty() && !is_only_line(got.err)) found.push_back(command.name + " stderr " + got.err);
    add_remains(command.name, found);
  }
  return found;
}

request ask(const std::string& command, const std::string& words) {
  const bool uploads = known_command{command, {}}.uploads();
  request sent = uploads ? post_file(command, uploaded_csv(words), words) : get("CMD=" + command);
  sent.environment["UPDATE_FW_SECONDS"] = "0";
  return sent;
}
