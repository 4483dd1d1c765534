#include "uploads/firmware.hpp"

#include <cerrno>
#include <cstdio>

#include "base/files.hpp"
#include "base/shell.hpp"
#include "cgi/state.hpp"

int update_firmware() {
  const int status = shell_status("mv /dev/shm/source_file /dev/shm/fw.tar.gz");
  if (status != 0) {
    std::fprintf(cgiOut, "<p>Failed to update firmware ret: %d errno: %d</p>\n", status, errno);
    return shell_status("rm /dev/shm/fw.tar.gz");
  }
  // Only units with a display have this program, which shows the text.
  if (file_exists("/usr/local/bin/GUI")) {
    shell_run("echo 'Updating Firmware, do not remove power!' > /var/info_local &");
  }
  std::fprintf(cgiOut, "<p>Updating firmware ret:%d</p>\n", status);
  return shell_status("/usr/local/bin/update_fw.sh > /dev/shm/uf 2>/dev/shm/uf_e &");
}
