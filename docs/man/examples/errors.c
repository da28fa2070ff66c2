/* errors: what the library says about octets that are no reply.
 */
#include <qex.h>
#include <stdio.h>

int main(void) {
  static const uint8_t octets[] = {
      0x02, 0x01, 0x00}; /* an INTEGER, not a SEQUENCE */
  QEX_TSR_STATUS status;
  int32_t code =
      QEX_GetTSR_Status(&status, octets, sizeof octets);
  printf("code %d, ASN.1 error %d\n", (int)code,
         (int)QEX_GetLastAsnError());
  return code == QEX_E_DECODE ? 0 : 1;
}
