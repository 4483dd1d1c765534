// Admission guard: one request at a time, and none while a firmware update runs. There is no lock; the
// process list at the moment of the query decides, so two requests that start together may refuse each other.

#pragma once

// Refuses the request with an error page and ends the process with status 0, or stops the unit's link and
// returns. Nothing of the request has been read by then.
void cgiOnCalled();

// Restarts the link when the request carried a command other than a firmware update. Returns 0.
int cgiOnClose();
