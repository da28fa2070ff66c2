/* rewriting < TOKEN > TOKEN: the token without attribute
 * certificates. */
#include <qex.h>
#include <stdio.h>

static uint8_t token[1 << 16], plain[1 << 16];

int main(void) {
  uint32_t tokenLength =
               (uint32_t)fread(token, 1, sizeof token, stdin),
           length = sizeof plain;
  if (QEX_RemoveAttrCerts(token, tokenLength, plain, &length) !=
      QEX_OK)
    return 1;
  return fwrite(plain, 1, length, stdout) == length ? 0 : 1;
}
