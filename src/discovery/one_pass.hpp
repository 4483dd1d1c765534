// One-pass discovery: sorts the answers to the multicast query by their sender into node files as they
// arrive, and parses each into the unit's record at the same time (device_records.hpp). Then compiles the
// records (csv_compilation.hpp). Needs discovery_socket with the query sent, and the columns that ckht built.
//   listens        for about three seconds; ends at once at an empty datagram or a socket error, and after
//                  60 s in any case
//   new sender     its datagram starts /tmp/node_N, where N is the number of senders before it; at most 2,047
//   known sender   its datagram goes to the first node file that names the sender's address
//                  (node_search.hpp), which may be another unit's, or is dropped when none does
//   flood          of one sender 255 datagrams are taken; further ones are dropped and not logged
//   logs           /tmp/mcD.log, what became of each datagram; /tmp/MCa.log, how the listening ended

#pragma once

// Runs the discovery and sets device_count. When no unit was found, the files of an earlier run stay. Returns
// the result of the last receive: -1 after a time-out or an error, 0 after an empty datagram, or the length
// of the datagram that came when the 60 s were over.
int discover_one_pass();
