// Command dispatcher: runs the command that the form field CMD names.

#pragma once

// Writes the header and the top of the page, runs the command, which writes its lines into the body, and
// closes the page. Every command has this frame around its answer, also after a failure. Returns 0.
int cgiMain();
