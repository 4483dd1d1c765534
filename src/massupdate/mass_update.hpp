// Mass update: sends every imported record to its unit, one after the other.
//   answer     a line for each record that was sent, "Update Device #%d @ %s Result is %s", flushed at once,
//              and for the one that is this unit itself; none for a record with duplicate data
//   site log   begun anew; a line for each step of each record
//   takes      up to 15 s a record

#pragma once

// Checks and sends the current_record records of kvp_table. A record that fails does not stop the run. When
// kvp_table is absent although there are records, for want of memory, it says so and sends nothing. Returns 0.
int send_csv_to_devices();
