#include "uploads/splash.hpp"

#include <cstdio>

#include "base/shell.hpp"
#include "cgi/state.hpp"

void update_splash() {
  if (shell_status("mv /dev/shm/source_file /xoem/default.jpg") != 0) {
    std::fputs("<p>Failed to update splash</p>\n", cgiOut);
    return;
  }
  std::fputs("<p>Updating splash</p>\n", cgiOut);
  // The flash partition has no file system: it is a tar archive, which the whole folder is written to again.
  shell_run("tar -cvf /tmp/xoem.tar -C /xoem . > /dev/null 2>&1");
  shell_run("dd if=/tmp/xoem.tar of=/dev/mtdblkxoem bs=4K > /dev/null 2>&1");
  shell_run("cp /xoem/default.jpg /share/default.jpg > /dev/null 2>&1");
  shell_run("ast_send_event -1 e_reconnect > /dev/null 2>&1");
}
