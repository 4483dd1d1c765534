// Firmware update: moves the staged upload to where the unit's update script reads it and starts the script
// in the background.
//   archive   /dev/shm/fw.tar.gz; the content is not checked
//   output    of the script in /dev/shm/uf and /dev/shm/uf_e; nobody here waits for it or reads these
//   notice    in /var/info_local, on units with a display

#pragma once

// Starts the update and writes a line into the answer. Returns the status of the last command it ran.
int update_firmware();
