/* The floor of the upload bench: copies the request body unchanged to a file in RAM, in blocks of 256 KiB. Runs
 * the same tools and writes the same log lines and answer as the program for a request without a command. */

#include <fcntl.h>
#include <stdio.h>
#include <stdlib.h>
#include <unistd.h>

#include "floor.h"

static char block[256 * 1024];

static void store(int file) {
  for (ssize_t length; (length = read(STDIN_FILENO, block, sizeof block)) > 0;) {
    if (write(file, block, (size_t)length) != length) exit(1);
  }
}

int main(void) {
  char path[] = "/dev/shm/cgicXXXXXX";
  char line[32];
  first_line("pidof handler.cgi", line, sizeof line);
  first_line("pidof update_fw.sh", line, sizeof line);
  run("/usr/local/bin/ast_send_event -1 e_stop_link > /dev/null 2>&1");

  const int file = mkstemp(path);
  if (file < 0) return 1;
  store(file);
  close(file);

  trace("/tmp/dbgCGI.log", O_TRUNC, "cgic main() before cgiOnCalled() \n");
  trace("/tmp/dbgCGI.log", O_APPEND, "\tAbout to Call cgiMain() _%p_\n");
  fputs(
      "Content-type: text/html\r\n\r\n<HTML><HEAD>\n<TITLE>Key and Value</TITLE>\n</HEAD><BODY>\n"
      "<p>Key: CMD value: </p>\n<p>No command supplied</p>\n</BODY></HTML>\n",
      stdout);
  unlink(path);
  trace("/tmp/dbgCGI.log", O_APPEND, "\tAbout to Call cgiOnClose()\n");
  return 0;
}
