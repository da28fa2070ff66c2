/* digests < FILE: prints the SHA-256 of the standard input. */
#include <qex.h>
#include <stdio.h>

int main(void) {
  uint8_t block[4096], digest[32];
  QEX_SHA256_CTX* context = QEX_SHA256_Init();
  for (size_t n; (n = fread(block, 1, sizeof block, stdin)) > 0;)
    QEX_SHA256_Update(context, block, (uint32_t)n);
  QEX_SHA256_Final(context, digest);
  for (int i = 0; i < 32; ++i) printf("%02x", digest[i]);
  putchar('\n');
  return 0;
}
