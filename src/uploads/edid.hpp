// EDID update: installs the staged upload as the unit's active EDID, or as its custom EDID 1, 2 or 3. Only the
// size of the block counts, neither its header nor its checksum.
//   active      at least 256 bytes, of which the first 256 are written to the video driver as a text of bytes
//   custom n    exactly 256 bytes, stored as /share/CUSTOM_n.cbin and /config/CUSTOM_n.cbin
//   parameter   VIDEO.EDID, or VIDEO.EDIDn, is set to CUSTOM; of a custom one the API service is told, too

#pragma once

// Installs the block: index 0 for the active EDID, 1 to 3 for a custom one. Writes its lines into the answer.
// Returns 0, or -1 after a failure; the files made up to then stay.
int update_edid(int index);

// Writes the first 256 bytes of the file into /tmp/edid.edid, 16 lines of 16 bytes like "0x0f,". Returns 0 when
// the text is written whole, else -1; it is empty when the file holds fewer bytes.
[[nodiscard]] int write_edid_text(const char* path);
