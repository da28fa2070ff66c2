/* A system that takes its time. Loaded in front of the C library by servers_test.py and files_test.py:
 * the name of a host is never found, and data take a while to reach the disk. */
#define _POSIX_C_SOURCE 200809L
#include <netdb.h>
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
  for (unsigned left = 3; left != 0;) left = sleep(left);
  return 0;
}
