/* A system that takes its time. Loaded before the C library by the tests of the tool: the name of a
 * host is never found, and data take a while to reach the disk, unless QUICK_DISK is set. Where SLOW_NAMES is
 * set, it takes a while until a file that has got its name is followed by the next one. */
#define _GNU_SOURCE
#include <netdb.h>
#include <stdlib.h>
#include <sys/syscall.h>
#include <unistd.h>

/* The header of the system has names that are its own.
 * NOLINTNEXTLINE(readability-inconsistent-declaration-parameter-name) */
int getaddrinfo(const char* node, const char* service, const struct addrinfo* hints,
                struct addrinfo** result) {
  (void)node;
  (void)service;
  (void)hints;
  *result = 0;
  sleep(300);
  return EAI_AGAIN;
}

int fsync(int fd) {
  (void)fd;
  if (getenv("QUICK_DISK") != 0) return 0;
  for (unsigned left = 3; left != 0;) left = sleep(left);
  return 0;
}

/* NOLINTNEXTLINE(readability-inconsistent-declaration-parameter-name) */
int renameat2(int from_folder, const char* from, int to_folder, const char* to, unsigned flags) {
  const long result = syscall(SYS_renameat2, from_folder, from, to_folder, to, flags);
  if (result == 0 && getenv("SLOW_NAMES") != 0) sleep(1);
  return (int)result;
}
