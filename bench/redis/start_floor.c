/* The floor of an agent's start: the least a client on hiredis does to read
 * every key of an agent once. SCAN MATCH "AGENT:*" a page at a time; for each
 * page, pipelined, TYPE and HGETALL of each of its keys and then the next
 * SCAN, so one page of commands is in flight while the replies are parsed.
 * Connecting is part of the time, as it is of the store's open().
 *
 *   hubstore_store_start_floor PORT AGENT
 *
 * Prints one JSON object: seconds, keys, hashes (keys whose TYPE is hash),
 * fields (hash fields read), peak_rss_bytes. */

#include <hiredis/hiredis.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/resource.h>
#include <time.h>

static double now(void) {
  struct timespec t;
  clock_gettime(CLOCK_MONOTONIC, &t);
  return (double)t.tv_sec + (double)t.tv_nsec * 1e-9;
}

/* The next reply; an error reply ends the program unless `may_fail`. */
static redisReply* reply_of(redisContext* context, int may_fail) {
  void* reply = NULL;
  if (redisGetReply(context, &reply) != REDIS_OK || reply == NULL) {
    fprintf(stderr, "start floor: %s\n", context->errstr);
    exit(1);
  }
  if (((redisReply*)reply)->type == REDIS_REPLY_ERROR && !may_fail) {
    fprintf(stderr, "start floor: %s\n", ((redisReply*)reply)->str);
    exit(1);
  }
  return reply;
}

static redisReply* next_reply(redisContext* context) { return reply_of(context, 0); }

static void append_scan(redisContext* context, const char* cursor, const char* pattern) {
  redisAppendCommand(context, "SCAN %s MATCH %s COUNT 1000", cursor, pattern);
}

int main(int argc, char** argv) {
  if (argc != 3) {
    fprintf(stderr, "usage: hubstore_store_start_floor PORT AGENT\n");
    return 2;
  }
  char pattern[256];
  snprintf(pattern, sizeof pattern, "%s:*", argv[2]);
  long long keys = 0, hashes = 0, fields = 0;

  const double start = now();
  redisContext* context = redisConnect("127.0.0.1", atoi(argv[1]));
  if (context == NULL || context->err) {
    fprintf(stderr, "start floor: cannot connect: %s\n", context ? context->errstr : "out of memory");
    return 1;
  }
  append_scan(context, "0", pattern);
  for (;;) {
    redisReply* page = next_reply(context);
    const char* cursor = page->element[0]->str;
    const redisReply* found = page->element[1];
    for (size_t i = 0; i < found->elements; ++i) {
      const char* argv_key[2] = {"TYPE", found->element[i]->str};
      size_t lengths[2] = {4, found->element[i]->len};
      redisAppendCommandArgv(context, 2, argv_key, lengths);
      argv_key[0] = "HGETALL";
      lengths[0] = 7;
      redisAppendCommandArgv(context, 2, argv_key, lengths);
    }
    const int more = strcmp(cursor, "0") != 0;
    if (more) append_scan(context, cursor, pattern);
    for (size_t i = 0; i < found->elements; ++i) {
      redisReply* type = next_reply(context);
      hashes += strcmp(type->str, "hash") == 0;
      freeReplyObject(type);
      /* A key of another type (the agent's lease) answers HGETALL with an error. */
      redisReply* hash = reply_of(context, 1);
      if (hash->type == REDIS_REPLY_ARRAY) fields += (long long)hash->elements / 2;
      freeReplyObject(hash);
    }
    keys += (long long)found->elements;
    freeReplyObject(page);
    if (!more) break;
  }
  redisFree(context);
  const double seconds = now() - start;

  struct rusage usage;
  getrusage(RUSAGE_SELF, &usage);
  printf("{\"seconds\": %.6g, \"keys\": %lld, \"hashes\": %lld, \"fields\": %lld, \"peak_rss_bytes\": %lld}\n",
         seconds, keys, hashes, fields, (long long)usage.ru_maxrss * 1024);
  return 0;
}
