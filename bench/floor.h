/* What the floor programs share: starting tools directly, and writing log lines. */

#ifndef BENCH_FLOOR_H
#define BENCH_FLOOR_H

#include <fcntl.h>
#include <spawn.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/wait.h>
#include <unistd.h>

/* Runs a command line that needs a shell. */
static inline void run_in_shell(const char* command) {
  fflush(stdout);
  if (system(command) == -1) perror(command);
}

/* Starts a tool directly, with the fd `output` as its stdout. Every redirection in the line is taken as one to
 * /dev/null. Returns the child's pid. */
static pid_t start_tool(const char* command, int output) {
  char text[256];
  char* words[16] = {0};
  int count = 0;
  int quiet = 0;
  snprintf(text, sizeof text, "%s", command);
  for (char* word = strtok(text, " "); word != NULL && count < 15; word = strtok(NULL, " ")) {
    if (*word == '>') quiet = 1;
    if (quiet) break;
    words[count++] = word;
  }
  fflush(stdout);
  posix_spawn_file_actions_t files;
  posix_spawn_file_actions_init(&files);
  posix_spawn_file_actions_addopen(&files, 2, "/dev/null", O_WRONLY, 0);
  if (quiet) {
    posix_spawn_file_actions_adddup2(&files, 2, 1);
  } else if (output != 1) {
    posix_spawn_file_actions_adddup2(&files, output, 1);
  }
  pid_t child = -1;
  if (words[0] == NULL || posix_spawnp(&child, words[0], &files, NULL, words, environ) != 0) perror(command);
  posix_spawn_file_actions_destroy(&files);
  return child;
}

/* Runs a tool and waits for it. */
static inline void run(const char* command) {
  waitpid(start_tool(command, 1), NULL, 0);
}

/* Reads the first line of a tool's output. Returns 1, 0 when there is none, or -1 without a pipe. */
static int first_line(const char* command, char* line, int size) {
  int ends[2];
  memset(line, 0, (size_t)size);
  if (pipe2(ends, O_CLOEXEC) != 0) return -1;
  const pid_t child = start_tool(command, ends[1]);
  close(ends[1]);
  const ssize_t length = read(ends[0], line, (size_t)size - 1);
  close(ends[0]);
  waitpid(child, NULL, 0);
  return length > 0;
}

/* Writes a line to a log; flags are O_APPEND or O_TRUNC. */
static void trace(const char* path, int flags, const char* text) {
  const int file = open(path, O_WRONLY | O_CREAT | O_CLOEXEC | flags, 0666);
  if (file < 0) return;
  if (write(file, text, strlen(text)) < 0) perror(path);
  close(file);
}

#endif
