/* Memory that runs out once. Loaded before the C library by memory_test.py into a worker. Allocations
 * count from the end of standard input on, those of operator new apart: they fail in a way of their own.
 * FAIL_BELOW is how many of them are to fail, each in a process of its own, a fork of this one. What each
 * process answers is written as a line: which allocation failed, how the process ended, and its answer in
 * hex. Without it nothing fails, and a line on standard error says how many allocations there were. */
#define _GNU_SOURCE
#include <dlfcn.h>
#include <errno.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

void* __libc_malloc(size_t size);
void* __libc_calloc(size_t count, size_t size);
void* __libc_realloc(void* block, size_t size);

static int counting;
static long counted;
static long failing = -1;

/* In a child returns with a number to fail at; the parent goes through all numbers and ends. */
static void fail_each(long below) {
  for (long number = 0; number < below; ++number) {
    static char answer[1 << 20];
    size_t length = 0;
    int ends[2];
    int status = 0;
    ssize_t n = 0;
    if (pipe(ends) != 0) _exit(9);
    const pid_t child = fork();
    if (child < 0) _exit(9);
    if (child == 0) {
      dup2(ends[1], STDOUT_FILENO);
      close(ends[0]);
      close(ends[1]);
      failing = number;
      return;
    }
    close(ends[1]);
    while ((n = read(ends[0], answer + length, sizeof answer - length)) > 0) length += (size_t)n;
    close(ends[0]);
    waitpid(child, &status, 0);
    printf("%ld %d ", number, status);
    for (size_t i = 0; i < length; ++i) printf("%02x", (unsigned char)answer[i]);
    putchar('\n');
    fflush(stdout);
  }
  _exit(0);
}

ssize_t read(int fd, void* buf, size_t nbytes) {
  static ssize_t (*of_the_library)(int, void*, size_t);
  if (of_the_library == NULL) *(void**)&of_the_library = dlsym(RTLD_NEXT, "read");
  const ssize_t n = of_the_library(fd, buf, nbytes);
  if (fd == STDIN_FILENO && n == 0 && !counting) {
    const char* below = getenv("FAIL_BELOW");
    if (below != NULL) fail_each(atol(below));
    counting = 1;
  }
  return n;
}

static int fails(void) {
  if (!counting || counted++ != failing) return 0;
  errno = ENOMEM;
  return 1;
}

void* malloc(size_t size) {
  return fails() ? NULL : __libc_malloc(size);
}

void* calloc(size_t nmemb, size_t size) {
  return fails() ? NULL : __libc_calloc(nmemb, size);
}

void* realloc(void* ptr, size_t size) {
  return fails() ? NULL : __libc_realloc(ptr, size);
}

/* operator new(size_t) */
void* _Znwm(size_t size) {
  void* block = __libc_malloc(size);
  if (block == NULL) abort();
  return block;
}

__attribute__((destructor)) static void report(void) {
  if (counting && failing < 0) fprintf(stderr, "%ld allocations\n", counted);
}
