/* The floor of the discovery bench: the least work that leaves the same files. It has a large receive buffer,
 * finds senders by hash, keeps the texts in memory while it appends them to their node files, writes each log
 * line with one call, and compiles in sorted order without reading a node file again. It starts the same tools
 * as the program. Its result is right only when no unit's address is the beginning of another's. */

#include <arpa/inet.h>
#include <errno.h>
#include <fcntl.h>
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <strings.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <time.h>
#include <unistd.h>

#include "floor.h"

enum { most_units = 2047, most_keys = 128, text_size = 64, datagram_size = 2048 };

static char keys[most_keys][text_size];
static int key_count;
static in_addr_t senders[most_units];
static unsigned short places[4096]; /* by hash: sender number + 1; 0 for a free place */
static char texts[most_units][datagram_size + 1];
static int lengths[most_units];
static int units;
static const char* (*values)[most_keys]; /* pointers into the texts, which parse terminates */
static int order[most_units];
static int encoders;
static int decoders;
static int log_file = -1;

/* Appends to the log. */
static void note(const char* text, size_t length) {
  if (log_file < 0) log_file = open("/tmp/mcD.log", O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0666);
  if (write(log_file, text, length) < 0) perror("mcD.log");
}

static void write_header(void) {
  char line[256];
  FILE* list = fopen("/etc/keys.txt", "re");
  FILE* csv = fopen("/tmp/discover.csv", "we");
  while (key_count < most_keys && fgets(line, sizeof line, list) != NULL) {
    line[strcspn(line, "\r\n")] = '\0';
    snprintf(keys[key_count], text_size, "%s", line);
    fprintf(csv, key_count++ == 0 ? "%s" : ",%s", line);
  }
  fputs("\r\n", csv);
  fclose(csv);
  fclose(list);
}

static int open_socket(void) {
  char line[32];
  const int handle = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  const struct timeval wait = {0, 100000};
  const int room = most_units * 2 * 2304;
  const unsigned char ttl = 64;
  setsockopt(handle, SOL_SOCKET, SO_RCVTIMEO, &wait, sizeof wait);
  if (setsockopt(handle, SOL_SOCKET, SO_RCVBUFFORCE, &room, sizeof room) != 0) {
    setsockopt(handle, SOL_SOCKET, SO_RCVBUF, &room, sizeof room);
  }
  first_line("qelparam g UNIT.MCD_TTL", line, sizeof line);
  trace("/tmp/MCt.log", O_TRUNC, "Using TTL 64\n");
  setsockopt(handle, IPPROTO_IP, IP_MULTICAST_TTL, &ttl, sizeof ttl);
  return handle;
}

static void send_query(int handle) {
  static const char none[] = "CMD=START&UNIT.ID=NONE&QUERY.STATUS=TRUE&CMD=END";
  static const char all[] = "CMD=START&UNIT.ID=ALL&QUERY.ALL=TRUE&CMD=END";
  char line[32];
  struct sockaddr_in group = {.sin_family = AF_INET, .sin_port = htons(8000)};
  group.sin_addr.s_addr = inet_addr("226.0.0.19");
  first_line("qelparam g UNIT.MCD_MODE", line, sizeof line);
  trace("/tmp/MCm.log", O_TRUNC, "Using Mode 1\n");
  sendto(handle, none, sizeof none - 1, 0, (struct sockaddr*)&group, sizeof group);
  sendto(handle, all, sizeof all - 1, 0, (struct sockaddr*)&group, sizeof group);
  trace("/tmp/MCm.log", O_APPEND, "Running Original Discover Mode...\n");
}

/* Formats like printf and appends to the log. */
__attribute__((format(printf, 1, 2))) static void note_line(const char* format, ...) {
  char line[512];
  va_list arguments;
  va_start(arguments, format);
  const int length = vsnprintf(line, sizeof line, format, arguments);
  va_end(arguments);
  note(line, (size_t)length);
}

/* Appends a datagram to its sender's node file, and writes the log lines of that. */
static void store(in_addr_t sender, const char* text, int length) {
  char address[INET_ADDRSTRLEN];
  char path[32];
  unsigned place = (sender * 0x9E3779B1U) >> 20;
  while (places[place] != 0 && senders[places[place] - 1] != sender) place = (place + 1) % 4096;
  const int known = places[place] != 0;
  if (!known && units == most_units) return;
  const int node = known ? places[place] - 1 : units;
  inet_ntop(AF_INET, &sender, address, sizeof address);
  snprintf(path, sizeof path, "/tmp/node_%d", node);
  note_line("IP=%s\n", address);
  if (!known) {
    places[place] = (unsigned short)(node + 1);
    senders[units++] = sender;
    note_line("DEBUG MC NORMAL\n");
  } else {
    char found[128];
    snprintf(found, sizeof found, "%s:%s", path, texts[node]);
    note_line("DEBUG MC A\n");
    note_line("DEBUG MC B\n");
    note_line("DEBUG MC C\n");
    note_line("%s %d\n", found, (int)strlen(found));
    note_line("DEBUG MC D\n");
    note_line("DEBUG MC E\n");
    note_line("Append to /tmp/node_%d of %d\n", node, units - 1);
  }
  const int file = open(path, O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0666);
  if (write(file, text, (size_t)length) < 0) perror(path);
  close(file);
  const int room = datagram_size - lengths[node];
  const int kept = length < room ? length : room;
  memcpy(texts[node] + lengths[node], text, (size_t)kept);
  lengths[node] += kept;
}

static void collect(int handle) {
  static char datagram[datagram_size + 1];
  const time_t start = time(NULL);
  int misses = 0;
  run("rm /tmp/mcD.log > /dev/null");
  for (;;) {
    struct sockaddr_in sender = {0};
    socklen_t size = sizeof sender;
    const ssize_t length = recvfrom(handle, datagram, datagram_size, 0, (struct sockaddr*)&sender, &size);
    if (length > 0) {
      datagram[length] = '\0';
      store(sender.sin_addr.s_addr, datagram, (int)length);
    } else if (++misses > 5 && time(NULL) > start + 3) {
      break;
    } else {
      usleep(100000);
    }
  }
  char line[128];
  snprintf(line, sizeof line, "hsdr() Exiting start:%d now:%d loops:%d\n", (int)start, (int)time(NULL),
           misses);
  trace("/tmp/MCa.log", O_TRUNC, line);
}

static void count_model(const char* model) {
  static const char* const decoder_models[] = {"RX610", "RX620", "RX630", "KestR", "KestR-2", "QV8R"};
  static const char* const encoder_models[] = {"TX610",    "TX620",      "TX630",       "KestT",
                                               "KestT-PL", "KestT-PL-K", "KestT-PL-RF", "KestT-2",
                                               "QV8T",     "T-PL",       "T-PL-K",      "T-PL-RF"};
  for (size_t i = 0; i < sizeof decoder_models / sizeof *decoder_models; ++i) {
    if (strcasecmp(model, decoder_models[i]) == 0) ++decoders;
  }
  for (size_t i = 0; i < sizeof encoder_models / sizeof *encoder_models; ++i) {
    if (strcasecmp(model, encoder_models[i]) == 0) ++encoders;
  }
}

static void parse(int node) {
  int column = 0;
  for (char *pair = texts[node], *end; (end = strchr(pair, '&')) != NULL; pair = end + 1) {
    *end = '\0';
    char* value = strchr(pair, '=');
    if (value == NULL) continue;
    *value++ = '\0';
    if (strcmp(pair, "UNIT.MODEL") == 0) count_model(value);
    /* Units answer in the order of the columns, so the search starts where the last one ended. */
    for (int tried = 0; tried < key_count; ++tried, column = (column + 1) % key_count) {
      if (strcmp(keys[column], pair) != 0) continue;
      if (*value != '\0' && end - value < text_size - 1) values[node][column] = value;
      break;
    }
  }
}

static const char* value_of(int node, int column) {
  return values[node][column] != NULL ? values[node][column] : "";
}

static int compare(const void* left, const void* right) {
  return strcmp(value_of(*(const int*)left, 0), value_of(*(const int*)right, 0));
}

static void compile(void) {
  char line[128];
  values = calloc((size_t)units, sizeof *values);
  for (int i = 0; i < units; ++i) parse(order[i] = i);
  qsort(order, (size_t)units, sizeof *order, compare);
  snprintf(line, sizeof line, "Total=%d&Ecount=%d&Dcount=%d~~~\n", units, encoders, decoders);
  trace("/tmp/discover.info", O_TRUNC, line);
  FILE* csv = fopen("/tmp/discover.csv", "ae");
  for (int i = 0; i < units; ++i) {
    for (int column = 0; column < key_count; ++column) {
      const char* value = value_of(order[i], column);
      const int quoted = strchr(value, ',') != NULL;
      if (column > 0) putc_unlocked(',', csv);
      if (quoted) putc_unlocked('"', csv);
      fputs(value, csv);
      if (quoted) putc_unlocked('"', csv);
    }
    fputs("\r\n", csv);
  }
  fclose(csv);
  run_in_shell(
      "grep -e \"TX610\" -e \"TX620\" -e \"TX630\" -e \"KestT\" -e \"KestT-PL\" -e \"KestT-PL-K\" -e "
      "\"KestT-PL-RF\" "
      "-e \"KestT-2\" -e \"QV8T\" /tmp/discover.csv > /tmp/encoders.csv");
  run_in_shell(
      "grep -e \"RX610\" -e \"RX620\" -e \"RX630\" -e \"KestR\" -e \"KestR-2\" -e \"QV8R\" /tmp/discover.csv "
      "> "
      "/tmp/decoders.csv");
  run_in_shell("rm /tmp/node_* > /dev/null 2>&1");
}

int main(void) {
  char line[256];
  first_line("pidof handler.cgi", line, 32);
  first_line("pidof update_fw.sh", line, 32);
  run("/usr/local/bin/ast_send_event -1 e_stop_link > /dev/null 2>&1");
  fprintf(stderr, "Request Method: %s\n", getenv("REQUEST_METHOD"));
  snprintf(line, sizeof line, "cgic main() before cgiOnCalled() %s\n", getenv("QUERY_STRING"));
  trace("/tmp/dbgCGI.log", O_TRUNC, line);
  trace("/tmp/dbgCGI.log", O_APPEND, "\tCMD=DISCOVER_DEVICES_API\n");
  trace("/tmp/dbgCGI.log", O_APPEND, "\tAbout to Call cgiMain() _%p_\n");
  printf("Content-type: text/html\r\n\r\n<HTML><HEAD>\n<TITLE>Key and Value</TITLE>\n</HEAD><BODY>\n");
  printf("<p>Key: CMD value: DISCOVER_DEVICES_API</p>\n");
  write_header();
  const int handle = open_socket();
  send_query(handle);
  collect(handle);
  compile();
  close(handle);
  run("cp /tmp/discover.csv /www/site.csv");
  puts("</BODY></HTML>");
  trace("/tmp/dbgCGI.log", O_APPEND, "\tAbout to Call cgiOnClose()\n");
  run("ast_send_event -1 e_reconnect");
  return 0;
}
