// Admission guard: lets one request run at a time, and none during a firmware update. There is no lock; the
// process list decides. Every process is in the list before it reads it, so of two requests the later reader
// always sees the other: both may be refused, but never are both admitted.
//
//     request A   starts . . . . . pidof: A B, refused
//     request B   . . . starts . . . . . pidof: A B, refused

#pragma once

// Refuses the request with an error page and exits with status 0, or stops the unit's video link and returns.
// Called before anything of the request is read.
void cgiOnCalled();

// Restarts the link when the request contained a command other than a firmware update. Returns 0.
int cgiOnClose();
