/* tac < TOKEN: how well the authority's clock keeps time, as the
 * certificate in the token states. */
#define _POSIX_C_SOURCE 200112L /* setenv */
#include <qex.h>
#include <stdio.h>
#include <stdlib.h>

static uint8_t token[1 << 16], tac[1 << 16];

int main(void) {
  setenv("QEX_VERIFY_ESSCERTIDV2", "1", 1);
  uint32_t tokenLength =
               (uint32_t)fread(token, 1, sizeof token, stdin),
           length = sizeof tac;
  QEX_TIMING_METRICS_EX metrics = {.leapAction = 0};
  int32_t code = QEX_GetTST_TimeAttributeCert(tac, &length, token,
                                              tokenLength);
  if (code == QEX_OK)
    code =
        QEX_CheckTAC_MatchesTST(tac, length, token, tokenLength);
  if (code == QEX_OK)
    code = QEX_GetTAC_TimingMetricsEx(&metrics, tac, length);
  if (code != QEX_OK) return 1;
  printf("offset %f s, delay %f s, valid until %s\n",
         metrics.offset, metrics.delay, metrics.expiration);
  return 0;
}
