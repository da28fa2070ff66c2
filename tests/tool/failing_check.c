/* A signature check that fails on purpose. Loaded before the library by verify_test.py; CHECK
 * says how: it aborts, spins, is killed, or answers with a result code and a last ASN.1 error ("-7 -27"). */
#define _GNU_SOURCE
#include <dlfcn.h>
#include <signal.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

int32_t QEX_VerifyTST_Signature(const uint8_t* token, uint32_t tokenLen, const uint8_t* tsaCert,
                                uint32_t tsaCertLen);
int32_t QEX_GetLastAsnError(void);

static int answered;
static int asnError;

int32_t QEX_VerifyTST_Signature(const uint8_t* token, uint32_t tokenLen, const uint8_t* tsaCert,
                                uint32_t tsaCertLen) {
  const char* how = getenv("CHECK");
  int code = 0;
  (void)token;
  (void)tokenLen;
  (void)tsaCert;
  (void)tsaCertLen;
  if (how != NULL && sscanf(how, "%d %d", &code, &asnError) == 2) {
    answered = 1;
    return code;
  }
  if (how != NULL && strcmp(how, "spin") == 0) {
    for (volatile int forever = 1; forever;) {
    }
  }
  if (how != NULL && strcmp(how, "kill") == 0) raise(SIGKILL);
  fputs("Assertion failed: a made-up one\n", stderr);
  abort();
}

int32_t QEX_GetLastAsnError(void) {
  if (answered) return asnError;
  int32_t (*of_the_library)(void);
  *(void**)&of_the_library = dlsym(RTLD_NEXT, "QEX_GetLastAsnError");
  return of_the_library();
}
