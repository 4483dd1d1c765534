// Device update: sends an imported record to its unit and takes the unit through save and reboot.
//   message   CMD=START&UNIT.ID=<serial>{&<key>=<value>}&CMD=END in one datagram of at most 2047 bytes to the
//             discovery group, port 8000; a record that needs a longer one is not sent and fails
//   settings  in the order of the columns. Left out: status values, queries, commands, and what the record's
//             model does not take, nearly everything when the model is unknown. Some keys are renamed
//   save and  sent once each, to the address and port from which the last reply came
//   reboot
//   waits     5 s for each of three replies, so at most 15 s for a unit

#pragma once

// Sends record `row` of kvp_table and writes its result line to cgiOut. Returns how many of its values are
// settings, also counting those that the unit's model does not take.
int send_device_update(int row);

// Takes the unit that replies on discovery_socket through save and reboot. Returns how far that got:
//   0   no reply to the update came
//   1   the update was not confirmed, or the save could not be sent or was not answered
//   2   the save was not confirmed, or the reboot could not be sent or was not answered
//   3   all three replies came
[[nodiscard]] int handle_device_update_reply();
