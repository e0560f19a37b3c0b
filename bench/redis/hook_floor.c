/* The floor of a status write in one process reaching a reader in another,
 * on hiredis. The reader (this process) subscribes to the agent's keyspace
 * notifications and forks the writer. For each sample the reader asks for a
 * write through a pipe; the writer takes the time (CLOCK_MONOTONIC, shared by
 * both processes), sends it back and HSETs one group field of a switch
 * (failed and mounted in turn); the reader, notified, reads the key with
 * HGETALL on a second connection and takes the time the answer is in. The
 * first write, which warms both up, is left out.
 *
 *   hubstore_store_hook_floor PORT AGENT SWITCH_KEY FIELD SAMPLES
 *
 * The server is told to notify what the store asks for (K, g, h, x, e), so
 * that it does the same work for both.
 *
 * Prints one JSON object: samples, median_us, micros (each sample, in the
 * order taken). */

#include <hiredis/hiredis.h>
#include <poll.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

static int64_t now_ns(void) {
  struct timespec t;
  clock_gettime(CLOCK_MONOTONIC, &t);
  return (int64_t)t.tv_sec * 1000000000 + t.tv_nsec;
}

static void fail(const char* what, const char* detail) {
  fprintf(stderr, "hook floor: %s: %s\n", what, detail);
  exit(1);
}

static redisContext* connect_to(int port) {
  struct timeval five_seconds = {5, 0};
  redisContext* context = redisConnectWithTimeout("127.0.0.1", port, five_seconds);
  if (context == NULL || context->err) fail("cannot connect", context ? context->errstr : "out of memory");
  redisSetTimeout(context, five_seconds);
  return context;
}

static redisReply* command_reply(redisContext* context, void* reply) {
  if (reply == NULL) fail("redis", context->errstr);
  if (((redisReply*)reply)->type == REDIS_REPLY_ERROR) fail("redis", ((redisReply*)reply)->str);
  return reply;
}

static int read_stamp(int fd, int64_t* stamp) {
  struct pollfd readable = {fd, POLLIN, 0};
  if (poll(&readable, 1, 5000) != 1) return 0;
  return read(fd, stamp, sizeof *stamp) == (ssize_t)sizeof *stamp;
}

static void writer(int port, const char* key, const char* field, int go, int stamps) {
  redisContext* context = connect_to(port);
  char byte;
  for (int i = 0; read(go, &byte, 1) == 1; ++i) {
    const int64_t stamp = now_ns();
    if (write(stamps, &stamp, sizeof stamp) != (ssize_t)sizeof stamp) break;
    freeReplyObject(command_reply(context, redisCommand(context, "HSET %s %s %s", key, field, i % 2 ? "mounted" : "failed")));
  }
  redisFree(context);
}

static int by_value(const void* a, const void* b) {
  const double x = *(const double*)a, y = *(const double*)b;
  return (x > y) - (x < y);
}

int main(int argc, char** argv) {
  if (argc != 6) {
    fprintf(stderr, "usage: hubstore_store_hook_floor PORT AGENT SWITCH_KEY FIELD SAMPLES\n");
    return 2;
  }
  const int port = atoi(argv[1]);
  const char* key = argv[3];
  const char* field = argv[4];
  const int samples = atoi(argv[5]);
  if (samples < 1) fail("SAMPLES", "must be at least 1");

  redisContext* data = connect_to(port);
  freeReplyObject(command_reply(data, redisCommand(data, "CONFIG SET notify-keyspace-events Kghxe")));
  redisContext* notifications = connect_to(port);
  freeReplyObject(command_reply(notifications, redisCommand(notifications, "PSUBSCRIBE __keyspace@0__:%s:*", argv[2])));

  int go[2], stamps[2];
  if (pipe(go) != 0 || pipe(stamps) != 0) fail("pipe", "failed");
  fflush(NULL);
  const pid_t child = fork();
  if (child < 0) fail("fork", "failed");
  if (child == 0) {
    close(go[1]);
    close(stamps[0]);
    redisFree(data);
    redisFree(notifications);
    writer(port, key, field, go[0], stamps[1]);
    _exit(0);
  }
  close(go[0]);
  close(stamps[1]);

  double* micros = malloc(sizeof(double) * (size_t)samples);
  for (int i = 0; i < samples + 1; ++i) {
    if (write(go[1], "x", 1) != 1) fail("writer", "gone");
    int64_t heard_at = 0;
    for (;;) {
      void* message = NULL;
      if (redisGetReply(notifications, &message) != REDIS_OK || message == NULL) fail("notification", notifications->errstr);
      const redisReply* notice = message;
      /* pmessage, pattern, "__keyspace@0__:KEY", event */
      const char* channel = notice->elements == 4 ? notice->element[2]->str : "";
      const char* notified = strchr(channel, ':');
      if (notified && strcmp(notified + 1, key) == 0 && strcmp(notice->element[3]->str, "hset") == 0) {
        redisReply* hash = command_reply(data, redisCommand(data, "HGETALL %s", notified + 1));
        heard_at = now_ns();
        freeReplyObject(hash);
      }
      freeReplyObject(message);
      if (heard_at) break;
    }
    int64_t sent_at = 0;
    if (!read_stamp(stamps[0], &sent_at)) fail("writer", "sent no time");
    if (i > 0) micros[i - 1] = (double)(heard_at - sent_at) / 1e3;
  }
  close(go[1]);
  waitpid(child, NULL, 0);
  close(stamps[0]);

  printf("{\"samples\": %d, ", samples);
  printf("\"micros\": [");
  for (int i = 0; i < samples; ++i) printf(i ? ", %.6g" : "%.6g", micros[i]);
  qsort(micros, (size_t)samples, sizeof *micros, by_value);
  printf("], \"median_us\": %.6g}\n", micros[samples / 2]);
  free(micros);
  redisFree(data);
  redisFree(notifications);
  return 0;
}
