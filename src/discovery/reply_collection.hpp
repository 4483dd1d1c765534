// Reply collection in the two-pass mode: first who is there, then one unit after the other. Every receive
// waits at most 100 ms, so the passes end by themselves.

#pragma once

// hsdr, handle status discovery replies: the first pass. Records the sender of every datagram in node_addresses, a
// second one of the same sender too, until more than 3 s have passed and five receives in a row have failed; at the
// latest after 60 s. What goes beyond 2,047 records or beyond 255 of one sender is dropped. Returns the number recorded.
int hsdr();

// Second pass, one round: stores what arrives after a unit was queried in the node file of that number, whoever sends
// it. Ends at the first silence after data, or after five silent receives, about 0.9 s. Of one sender a round takes 255
// datagrams; what it sends beyond that is dropped and does not break a silence. Returns the number
// of bytes written; 0 also when the file cannot be created: the datagrams are then dropped.
int collect_node_reply(int number);
