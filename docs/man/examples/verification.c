/* verification CERTIFICATE < TOKEN: did the key of this
 * certificate, in DER, sign the token? */
#define _POSIX_C_SOURCE 200112L /* setenv */
#include <qex.h>
#include <stdio.h>
#include <stdlib.h>

static uint8_t token[1 << 16], certificate[1 << 16];

int main(int argc, char** argv) {
  /* Before the first call: most authorities send version 2 of the
   * attribute. */
  setenv("QEX_VERIFY_ESSCERTIDV2", "1", 1);
  FILE* file = argc == 2 ? fopen(argv[1], "rb") : NULL;
  if (file == NULL) return 2;
  uint32_t size =
      (uint32_t)fread(certificate, 1, sizeof certificate, file);
  fclose(file);
  /* Without a certificate the library would accept any signer. */
  if (size == 0) return 2;
  uint32_t length =
      (uint32_t)fread(token, 1, sizeof token, stdin);
  int32_t code =
      QEX_VerifyTST_Signature(token, length, certificate, size);
  printf("code %d\n", (int)code);
  return code == QEX_OK ? 0 : 1;
}
