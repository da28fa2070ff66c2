/* Finds libqex, checks that it is the one that the declarations describe, and fills the table of its
   functions. Included by interface.go alone, after SONAME, VERSION_NODE and the rows of the table. */
#ifndef _GNU_SOURCE
#define _GNU_SOURCE /* RTLD_DEFAULT */
#endif
#include <dlfcn.h>
#include <stddef.h>
#include <stdio.h>

#define NEXT_STEP \
  "install the package libqex1, or name the library's file in the environment variable QEX_LIBRARY"

/* qex_load writes to `complaint` what is wrong with the library, or an empty text. */
static void qex_load(const char* name, char* complaint, size_t room) {
  complaint[0] = '\0';
  void* library = dlopen(name, RTLD_NOW | RTLD_LOCAL);
  if (library == NULL) {
    snprintf(complaint, room, "libqex cannot be loaded: %s; " NEXT_STEP, dlerror());
    return;
  }
  /* glibc finds a loaded library again by its own name, and looks up a symbol by its version; other C
     libraries have neither. */
  if (dlsym(RTLD_DEFAULT, "gnu_get_libc_version") != NULL) {
    void* same = dlopen(SONAME, RTLD_NOW | RTLD_NOLOAD);
    if (same == NULL) {
      snprintf(complaint, room,
               "%s is not " SONAME " by its own name: it is another version, or another library; " NEXT_STEP,
               name);
    } else if (same != library) {
      snprintf(complaint, room,
               "%s cannot be used, because this process has another " SONAME
               " loaded; let both name the same file",
               name);
    }
    if (complaint[0] != '\0') return;
  }
  void* (*versioned)(void*, const char*, const char*) = NULL;
  *(void**)&versioned = dlsym(RTLD_DEFAULT, "dlvsym");
  for (size_t i = 0; i < sizeof rows / sizeof rows[0]; ++i) {
    void* function = dlsym(library, rows[i].name);
    if (function == NULL) {
      snprintf(complaint, room, "%s lacks %s: it is older than this binding; " NEXT_STEP, name, rows[i].name);
      return;
    }
    if (versioned != NULL && versioned(library, rows[i].name, VERSION_NODE) == NULL) {
      snprintf(complaint, room, "%s has %s in another version than " VERSION_NODE "; " NEXT_STEP, name,
               rows[i].name);
      return;
    }
    *(void**)rows[i].place = function;
  }
}
