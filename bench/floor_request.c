/* The floor of the request and start benches: serves CMD=GET_CSV_DISCOVER as a hand-written C program would. It
 * runs the same tools with the same command lines in the same order, and writes the same log lines and answer.
 * It knows only this one request. */

#include <fcntl.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include "floor.h"

static void refuse(const char* message) {
  printf(
      "Content-type: text/html,\n\n"
      "<HTML><HEAD><meta name=\"ERROR_RORRE\" content=\"none\"></HEAD>"
      "<BODY BGCOLOR=#FFFFFF TEXT=#000000 LINK=#000000 VLINK=#800080>\n<Center>\n"
      "%s</Center></BODY></HTML>",
      message);
  exit(0);
}

static void admit(void) {
  char line[32];
  const int listed = first_line("pidof handler.cgi", line, sizeof line);
  if (listed == 0 || (listed == 1 && strchr(line, ' ') != NULL)) {
    refuse("&HANDLER=ERROR handler.cgi only supports one concurrent request, try again.\n");
  }
  if (first_line("pidof update_fw.sh", line, sizeof line) == 1) {
    refuse("&HANDLER=ERROR Firmware Update In Progress, try again later.\n");
  }
  run("/usr/local/bin/ast_send_event -1 e_stop_link > /dev/null 2>&1");
}

static void note(int flags, const char* begin, const char* end) {
  char line[256];
  snprintf(line, sizeof line, "%s%s\n", begin, end);
  trace("/tmp/dbgCGI.log", flags, line);
}

static void copy(const char* path) {
  char block[4096];
  FILE* file = fopen(path, "re");
  if (file == NULL) return;
  for (size_t length; (length = fread(block, 1, sizeof block, file)) > 0;) fwrite(block, 1, length, stdout);
  fclose(file);
}

static void summary(void) {
  char line[256];
  FILE* file = fopen("/tmp/discover.info", "re");
  if (file == NULL) return;
  if (fgets(line, sizeof line, file) == NULL) strcpy(line, "---");
  for (size_t end = strlen(line); end > 0 && line[end - 1] == '~';) line[--end] = '\0';
  printf("DISCOVERED CSV DATA: %s\n", line);
  fclose(file);
}

int main(void) {
  admit();
  const char* method = getenv("REQUEST_METHOD");
  const char* query = getenv("QUERY_STRING");
  fprintf(stderr, "Request Method: %s\n", method != NULL ? method : "");
  if (query == NULL || strncmp(query, "CMD=", 4) != 0) return 1;

  note(O_TRUNC, "cgic main() before cgiOnCalled() ", query);
  note(O_APPEND, "\t", query);
  note(O_APPEND, "\t", "About to Call cgiMain() _%p_");
  printf(
      "Content-type: text/html\r\n\r\n<HTML><HEAD>\n<TITLE>Key and Value</TITLE>\n</HEAD><BODY>\n"
      "<p>Key: %s value: %s</p>\n",
      "CMD", query + 4);
  summary();
  copy("/tmp/discover.csv");
  fputs("</BODY></HTML>\n", stdout);
  note(O_APPEND, "\t", "About to Call cgiOnClose()");
  run("ast_send_event -1 e_reconnect");
  return 0;
}
