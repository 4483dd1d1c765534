// Reply collection in the two-pass mode: first find out which units answer, then query one after the other. A
// receive waits at most 100 ms, so both passes end without any answer.

#pragma once

// hsdr, handle status discovery replies: the first pass. Records the sender of every datagram in
// node_addresses, a unit that answers twice also twice. Ends when more than 3 s have passed and five receives
// in a row have failed, and after 60 s in any case. Drops what exceeds 2,047 records or 255 datagrams of one
// sender. Returns the number of records.
int hsdr();

// One round of the second pass: writes what arrives after a query to one unit into the node file of that
// number, whoever sent it. Ends at the first silence after data, or after five silences, about 0.9 s. Of each
// sender 255 datagrams are taken; further ones are dropped and do not interrupt a silence. Returns the number
// of bytes written, 0 also when the file cannot be created and the datagrams are dropped.
int collect_node_reply(int number);
