// EDID update: installs the staged upload as the unit's active EDID or as its custom EDID 1, 2 or 3. Only the
// size of the block is checked, not its header or checksum.
//   active      at least 256 bytes; the first 256 are written to the video driver as a text of bytes
//   custom n    exactly 256 bytes, stored as /share/CUSTOM_n.cbin and /config/CUSTOM_n.cbin
//   parameter   VIDEO.EDID or VIDEO.EDIDn is set to CUSTOM; a custom one is also set in the API service

#pragma once

// Installs the block. Index 0 is the active EDID, 1 to 3 a custom one. Writes lines into the answer. Returns
// 0, or -1 after a failure; files made before that stay.
int update_edid(int index);

// Writes the first 256 bytes of the file to /tmp/edid.edid as 16 lines of 16 bytes like "0x0f,". Returns 0
// when the text is complete, else -1. The text is empty when the file has fewer bytes.
[[nodiscard]] int write_edid_text(const char* path);
