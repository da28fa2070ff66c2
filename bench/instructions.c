/* One call to libqex for callgrind to count, after another one that fills tables and chooses forms of
 * routines. callgrind counts inside counted() alone: see scripts/instructions.sh.
 *
 * usage: qex_instructions FOLDER CASE      FOLDER is tests/data/bouncycastle
 *        qex_instructions                  prints the cases, and what their counts depend on */
#include <gnu/libc-version.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "api/qex.h"

/* The C library's own allocation, under its second names, and how often it was asked for. */
extern void* __libc_malloc(size_t size);
extern void* __libc_calloc(size_t count, size_t size);
extern void* __libc_realloc(void* block, size_t size);
static unsigned long allocations;

#define VISIBLE __attribute__((visibility("default")))

VISIBLE void* malloc(size_t size) {
  ++allocations;
  return __libc_malloc(size);
}

VISIBLE void* calloc(size_t count, size_t size) {
  ++allocations;
  return __libc_calloc(count, size);
}

VISIBLE void* realloc(void* block, size_t size) {
  ++allocations;
  return __libc_realloc(block, size);
}

static uint8_t input[65536];
static uint32_t length;

static int verify(void) {
  return QEX_VerifyTST_Signature(input, length, NULL, 0) == QEX_OK;
}

static int decode_reply(void) {
  QEX_TSR_STATUS status;
  return QEX_GetTSR_Status(&status, input, length) == QEX_OK;
}

static int build_request(void) {
  static QEX_TSQ_DATA_EX request;
  uint8_t der[512];
  uint32_t derLength = sizeof der;
  request.size = sizeof request;
  strcpy(request.hashAlgorithm, "2.16.840.1.101.3.4.2.1");
  memset(request.hashedMessage, 0x5A, 32);
  request.hashedMessageLength = 32;
  memset(request.nonce, 0x33, 8);
  request.nonceLength = 8;
  request.certReq = 1;
  return QEX_EncodeTSQ_Ex(&request, der, &derLength, QEX_TRANSPORT_RAW) == QEX_OK;
}

static int digest(void) {
  uint8_t digest[32];
  QEX_SHA256_CTX* context = QEX_SHA256_Init();
  QEX_SHA256_Update(context, input, sizeof input);
  QEX_SHA256_Final(context, digest);
  return 1;
}

static const struct {
  const char* name;
  int (*call)(void);
  const char* file;
} cases[] = {
    {"verify-rsa2048", verify, "token_rsa2048_sha256_v2.der"},
    {"decode-reply", decode_reply, "reply_rsa2048_sha256_v1.der"},
    {"build-request", build_request, NULL},
    {"sha256-64KiB", digest, NULL},
};

/* Not inlined, and visible by its name. */
__attribute__((noinline)) VISIBLE int counted(int (*call)(void));
int counted(int (*call)(void)) {
  const int good = call();
  __asm__ volatile(
      "" ::
          : "memory"); /* no jump into `call` as the last step: callgrind would leave the function */
  return good;
}

static void read_input(const char* folder, const char* file) {
  char path[4096];
  snprintf(path, sizeof path, "%s/%s", folder, file);
  FILE* stream = fopen(path, "rb");
  if (stream == NULL) {
    perror(path);
    exit(2);
  }
  length = (uint32_t)fread(input, 1, sizeof input, stream);
  fclose(stream);
}

static int describe(void) {
  printf("compiler: %s, C library %s\nprocessor:", __VERSION__, gnu_get_libc_version());
#if defined(__x86_64__)
  printf(" x86-64%s%s%s%s", __builtin_cpu_supports("avx2") ? " AVX2" : "",
         __builtin_cpu_supports("bmi2") ? " BMI2" : "", __builtin_cpu_supports("avx512f") ? " AVX-512" : "",
         __builtin_cpu_supports("avx512ifma") ? " IFMA" : "");
#else
  printf(" other");
#endif
  printf("\n");
  for (size_t i = 0; i < sizeof cases / sizeof *cases; ++i) printf("%s\n", cases[i].name);
  return 0;
}

int main(int argc, char** argv) {
  if (argc != 3) return describe();
  for (size_t i = 0; i < sizeof cases / sizeof *cases; ++i) {
    if (strcmp(cases[i].name, argv[2]) != 0) continue;
    if (cases[i].file != NULL) read_input(argv[1], cases[i].file);
    if (!cases[i].call()) return 1;
    allocations = 0;
    const int good = counted(cases[i].call);
    printf("%lu\n", allocations);
    return good ? 0 : 1;
  }
  return 2;
}
