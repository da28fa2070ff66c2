/* A signature check that ends the process. Loaded in front of the library by verify_test.py. */
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>

int32_t QEX_VerifyTST_Signature(const uint8_t* token, uint32_t tokenLen, const uint8_t* tsaCert,
                                uint32_t tsaCertLen);

int32_t QEX_VerifyTST_Signature(const uint8_t* token, uint32_t tokenLen, const uint8_t* tsaCert,
                                uint32_t tsaCertLen) {
  (void)token;
  (void)tokenLen;
  (void)tsaCert;
  (void)tsaCertLen;
  fputs("Assertion failed: a made-up one\n", stderr);
  abort();
}
