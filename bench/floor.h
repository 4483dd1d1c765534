/* What the floor programs share: tools started through the shell, and lines written to logs. */

#ifndef BENCH_FLOOR_H
#define BENCH_FLOOR_H

#include <fcntl.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

static void run(const char* command) {
  fflush(stdout);
  if (system(command) == -1) perror(command);
}

static int first_line(const char* command, char* line, int size) {
  memset(line, 0, (size_t)size);
  fflush(stdout);
  FILE* pipe = popen(command, "re");
  if (pipe == NULL) return -1;
  const int read = fgets(line, size, pipe) != NULL;
  pclose(pipe);
  return read;
}

static void trace(const char* path, int flags, const char* text) {
  const int file = open(path, O_WRONLY | O_CREAT | O_CLOEXEC | flags, 0666);
  if (file < 0) return;
  if (write(file, text, strlen(text)) < 0) perror(path);
  close(file);
}

#endif
