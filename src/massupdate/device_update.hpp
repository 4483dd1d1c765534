// Device update: sends one imported record to its unit and takes the unit through save and reboot.
//   message   CMD=START&UNIT.ID=<serial>{&<key>=<value>}&CMD=END, at most 2047 bytes, one datagram, to the
//             discovery group, port 8000; a record that needs a longer one fails and is not sent
//   settings  in the order of the columns; no status value, query or command; some under another key; those of
//             the other kind of unit left out, and nearly all when the record's model is unknown
//   save and  each once, to whoever sent the last reply, on the port that it came from
//   reboot
//   waits     5 s for each of three replies: at most 15 s for one unit

#pragma once

// Sends record `row` of kvp_table and writes its result line to cgiOut. Returns how many values are settings,
// whether the unit's model takes them or not.
int send_device_update(int row);

// Takes the unit that replies on discovery_socket through save and reboot. Returns 0 when no reply to the
// update came; 1 when the update was not confirmed, the save could not be sent or was not answered; 2 when the
// save was not confirmed, the reboot could not be sent or was not answered; 3 when all is done.
[[nodiscard]] int handle_device_update_reply();
