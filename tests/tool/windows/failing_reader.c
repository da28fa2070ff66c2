/* A libqex.dll whose reader of tokens fails on purpose; it hands every other export on to libqex_whole.dll.
 * CHECK says how: it spins, breaks, ends the process, writes a mebibyte of messages, or takes memory without
 * end. */
#define WIN32_LEAN_AND_MEAN
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <windows.h>

#include "api/qex.h"

static int is(const char* how) {
  char value[16] = {0};
  return GetEnvironmentVariableA("CHECK", value, sizeof value) > 0 && strcmp(value, how) == 0;
}

int32_t QEX_GetTST_TSTInfoEx(QEX_TSTINFO_EX* info, const uint8_t* token, uint32_t tokenLength) {
  int i;
  (void)info;
  (void)token;
  (void)tokenLength;
  if (is("spin")) {
    for (volatile int forever = 1; forever;) {
    }
  }
  if (is("break")) *(volatile int*)8 = 1;
  if (is("end")) ExitProcess(9);
  if (is("talk")) {
    for (i = 0; i < 16384; ++i)
      fputs("a message of sixty-four octets, sixteen thousand times over and\n", stderr);
    fflush(stderr);
  }
  if (is("memory")) {
    for (i = 0; i < 64; ++i) {
      void* kept = malloc((size_t)64 << 20); /* until the process ends */
      if (kept == NULL) return QEX_E_NOMEM;
      *(volatile char*)kept = 1;
    }
  }
  return QEX_E_DECODE;
}
