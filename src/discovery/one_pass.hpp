// One-pass discovery: sorts the answers to the multicast query by their sender into node files while they
// arrive, and reads each into the unit's record at the same time (device_records.hpp). Then compiles the records
// (csv_compilation.hpp). Needs discovery_socket with the query sent, and the columns that ckht built.
//   listens        for about three seconds; ends at once at an empty datagram or a socket error, and at the
//                  latest after 60 s
//   new sender     its datagram begins /tmp/node_N, N = device_count, which then grows by one; at most 2,047
//   known sender   its datagram goes to the first node file that names the sender's address (node_search.hpp),
//                  which may be another unit's, or nowhere when none does
//   flood          of one sender 255 datagrams are taken; further ones are dropped and not logged
//   logs           /tmp/mcD.log, what became of each datagram; /tmp/MCa.log, how the listening ended

#pragma once

// Sets device_count. With no unit found the files of an earlier run stay. Returns the last receive's result.
int discover_one_pass();
