// Device listing: lists the encoders or decoders that answer the discovery query, for the web page.
//   encoder lines   MYSELF,<stream host>,<stream address>, then <unit id>,<address>,<stream address>
//   decoder lines   <unit id>,<address>,<stream host>,<name>
//   order           that of the answers; a unit that answers twice is listed twice
//   ends            after 100 ms of silence once a unit is listed, else after about 0.9 s of silence in all;
//                   at an empty datagram or a socket error; after 60 s in any case
//   flood           2,047 units are listed; further answers are dropped

#pragma once

// Writes the lines to cgiOut. Mode 1 lists encoders, any other mode decoders. discovery_socket must be open
// and the query sent. Returns the number of units listed, which it also stores in device_count. The line of
// this unit itself does not count.
int list_devices(int mode);
