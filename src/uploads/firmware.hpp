// Firmware update: hands the staged upload to the unit's update script and starts it in the background.
//   archive   /dev/shm/fw.tar.gz, which the script reads; the content is not looked at
//   output    of the script in /dev/shm/uf and /dev/shm/uf_e; nobody here waits for it or reads them
//   notice    on units with a display, in /var/info_local

#pragma once

// Writes its line into the answer. Returns the status of the last command it ran.
int update_firmware();
