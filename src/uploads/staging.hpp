// Staging: the first step of every upload command. Copies the upload of the field "file" byte for byte to
// /dev/shm/source_file, from where the command moves it to its own place.
//   log   /www/upload_file.txt, rewritten each time: the client's file name, the size, and what failed

#pragma once

// Stops the unit's link and stages the upload. Returns 0 when all that could be read of the upload is in the
// staging file: a read error counts as EOF. Else returns -1; a part of it may then be there. Writes nothing
// into the answer.
[[nodiscard]] int stage_uploaded_file();
