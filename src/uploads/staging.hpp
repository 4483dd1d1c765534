// Staging: the first step of every upload command. It copies the upload of the field "file" byte for byte to
// /dev/shm/source_file, from where the command moves it to its own place.
//   log   /www/upload_file.txt, written anew each time: the client's file name, the size, and what failed

#pragma once

// Stops the unit's link, then stages the upload. Returns 0 when the staging file holds it, else -1; a part of
// the upload may then lie in the staging file. Writes nothing into the answer.
[[nodiscard]] int stage_uploaded_file();
