/* tokens < TOKEN: what the token says. Nothing is verified. */
#include <qex.h>
#include <stdio.h>

static uint8_t token[1 << 16];

int main(void) {
  uint32_t length =
      (uint32_t)fread(token, 1, sizeof token, stdin);
  QEX_TSTINFO_EX info = {.size = sizeof info};
  int32_t code = QEX_GetTST_TSTInfoEx(&info, token, length);
  if (code != QEX_OK) return 1;
  printf("time %s, policy %s, serial ", info.genTime,
         info.policy);
  for (uint32_t i = 0; i < info.serialNumberLength; ++i)
    printf("%02x", info.serialNumber[i]);
  putchar('\n');
  return 0;
}
