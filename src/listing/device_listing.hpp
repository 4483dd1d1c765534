// Device listing: lists the encoders or the decoders that answer the discovery query, for the web page.
//   encoder lines   MYSELF,<stream host>,<stream address>, then <unit id>,<address>,<stream address>
//   decoder lines   <unit id>,<address>,<stream host>,<name>
//   order           as the answers arrive; a unit that answers twice is listed twice
//   ends            at 100 ms of silence once a unit is listed, else after about 0.9 s of silence in all; at an
//                   empty datagram or a socket error; at the latest after 60 s
//   flood           2,047 units are listed; further answers are dropped

#pragma once

// Writes the lines to cgiOut. Mode 1 lists encoders, any other mode decoders. The discovery query must have
// been sent on discovery_socket. Returns the number of units listed, which device_count then holds too; the
// line of this unit itself does not count.
int list_devices(int mode);
