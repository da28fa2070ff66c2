/* responses < REPLY > TOKEN: the token of a bare reply; the
 * status when there is none. */
#include <qex.h>
#include <stdio.h>

static uint8_t reply[1 << 16], token[1 << 16];

int main(void) {
  uint32_t replyLength =
               (uint32_t)fread(reply, 1, sizeof reply, stdin),
           length = sizeof token;
  QEX_TSR_STATUS status;
  int32_t code = QEX_GetTSR_Status(&status, reply, replyLength);
  if (code == QEX_OK)
    code = QEX_GetTSR_EncodedToken(token, &length, reply,
                                   replyLength);
  if (code == QEX_E_REJECTED)
    fprintf(stderr, "status %d, %s\n", (int)status.status,
            status.statusText);
  if (code != QEX_OK) return 1;
  return fwrite(token, 1, length, stdout) == length ? 0 : 1;
}
