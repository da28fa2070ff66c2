/* requests < FILE > REQUEST: a request for the standard input, in
   DER. A program that sends it adds a nonce from a random source.
 */
#include <qex.h>
#include <stdio.h>

int main(void) {
  uint8_t block[4096], request[512];
  uint32_t length = sizeof request;
  QEX_TSQ_DATA_EX fields = {
      .size = sizeof fields,
      .hashAlgorithm = "2.16.840.1.101.3.4.2.1",
      .hashedMessageLength = 32,
      .certReq = 1};
  QEX_SHA256_CTX* context = QEX_SHA256_Init();
  for (size_t n; (n = fread(block, 1, sizeof block, stdin)) > 0;)
    QEX_SHA256_Update(context, block, (uint32_t)n);
  QEX_SHA256_Final(context, fields.hashedMessage);
  if (QEX_EncodeTSQ_Ex(&fields, request, &length,
                       QEX_TRANSPORT_RAW) != QEX_OK)
    return 1;
  return fwrite(request, 1, length, stdout) == length ? 0 : 1;
}
