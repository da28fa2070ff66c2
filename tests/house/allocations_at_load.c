/* Loads a library and prints the place of every allocation that its own code makes meanwhile, as an address
 * of the library. Allocations of the loader are not printed.
 *
 * usage: qex_allocations_at_load LIBRARY */
#define _GNU_SOURCE /* dl_iterate_phdr */
#include <dlfcn.h>
#include <errno.h>
#include <link.h>
#include <stddef.h>
#include <stdint.h>
#include <stdio.h>
#include <string.h>

/* The C library's own allocation, under its second names. */
extern void* __libc_malloc(size_t size);
extern void* __libc_calloc(size_t count, size_t size);
extern void* __libc_realloc(void* block, size_t size);
extern void* __libc_memalign(size_t alignment, size_t size);

enum { kMostCallers = 4096 };
static uintptr_t callers[kMostCallers];
static size_t count;
static int counting;

#define NOTE_CALLER() \
  if (counting && count < kMostCallers) callers[count++] = (uintptr_t)__builtin_return_address(0)
#define VISIBLE __attribute__((visibility("default")))

VISIBLE void* malloc(size_t size) {
  NOTE_CALLER();
  return __libc_malloc(size);
}

VISIBLE void* calloc(size_t number, size_t size) {
  NOTE_CALLER();
  return __libc_calloc(number, size);
}

VISIBLE void* realloc(void* block, size_t size) {
  NOTE_CALLER();
  return __libc_realloc(block, size);
}

VISIBLE void* aligned_alloc(size_t alignment, size_t size) {
  NOTE_CALLER();
  return __libc_memalign(alignment, size);
}

VISIBLE void* memalign(size_t alignment, size_t size) {
  NOTE_CALLER();
  return __libc_memalign(alignment, size);
}

VISIBLE int posix_memalign(void** block, size_t alignment, size_t size) {
  NOTE_CALLER();
  *block = __libc_memalign(alignment, size);
  return *block == NULL ? ENOMEM : 0;
}

/* Prints the callers that lie in the library whose name is `name`. */
static int print_callers(struct dl_phdr_info* image, size_t size, void* name) {
  (void)size;
  if (strcmp(image->dlpi_name, name) != 0) return 0;
  for (size_t i = 0; i < count; ++i) {
    for (int j = 0; j < image->dlpi_phnum; ++j) {
      const uintptr_t start = image->dlpi_addr + image->dlpi_phdr[j].p_vaddr;
      if (image->dlpi_phdr[j].p_type != PT_LOAD || callers[i] - start >= image->dlpi_phdr[j].p_memsz) {
        continue;
      }
      printf("%lx\n", (unsigned long)(callers[i] - image->dlpi_addr));
    }
  }
  return 1;
}

int main(int argc, char** argv) {
  if (argc != 2) return 2;
  counting = 1;
  const void* library = dlopen(argv[1], RTLD_NOW | RTLD_LOCAL);
  counting = 0;
  if (library == NULL || count == kMostCallers) {
    fprintf(stderr, "%s\n", library == NULL ? dlerror() : "too many allocations");
    return 1;
  }
  return dl_iterate_phdr(print_callers, argv[1]) == 1 ? 0 : 1;
}
