// Command dispatcher: performs the one command that the form field CMD names.

#pragma once

// Writes the header and the top of the page, performs the command, which writes its lines into the body, and
// closes the page. Every command answers inside this frame, success or failure. Returns 0.
int cgiMain();
