// Mass update: sends every imported record to its unit, one after the other.
//   answer     "Update Device #%d @ %s Result is %s" for each record that was tried, flushed at once; a line
//              for this unit's own record; none for a record with duplicate data
//   site log   started anew; a line for each step of each record
//   takes      up to 15 s a record

#pragma once

// Checks and sends the current_record records of kvp_table. A record that fails does not stop the others.
// When memory for the table ran out, it writes that to answer and site log and sends nothing. Returns 0.
int send_csv_to_devices();
