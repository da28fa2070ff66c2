/* libqex DATA REPLY CERTIFICATE: when was DATA stamped? REPLY and
 * the certificate of the authority are in DER. */
#define _POSIX_C_SOURCE 200112L /* setenv */
#include <qex.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

static uint8_t data[1 << 20], reply[1 << 16],
    certificate[1 << 16], token[1 << 16], digest[32];

static uint32_t load(const char* name, uint8_t* octets,
                     size_t size) {
  FILE* file = fopen(name, "rb");
  size_t length = file == NULL ? 0 : fread(octets, 1, size, file);
  if (file != NULL) fclose(file);
  return (uint32_t)length;
}

int main(int argc, char** argv) {
  setenv("QEX_VERIFY_ESSCERTIDV2", "1", 1);
  if (argc != 4) return 2;
  uint32_t dataLength = load(argv[1], data, sizeof data);
  uint32_t replyLength = load(argv[2], reply, sizeof reply);
  uint32_t size = load(argv[3], certificate, sizeof certificate);
  uint32_t length = sizeof token;
  /* Without a certificate the library would accept any signer. */
  if (dataLength == sizeof data || size == 0) return 2;

  QEX_SHA256_CTX* context = QEX_SHA256_Init();
  QEX_SHA256_Update(context, data, dataLength);
  QEX_SHA256_Final(context, digest);
  QEX_TSTINFO_EX info = {.size = sizeof info};
  if (QEX_GetTSR_EncodedToken(token, &length, reply,
                              replyLength) ||
      QEX_VerifyTST_Signature(token, length, certificate, size) ||
      QEX_GetTST_TSTInfoEx(&info, token, length) ||
      strcmp(info.hashAlgorithm, "2.16.840.1.101.3.4.2.1") != 0 ||
      info.hashedMessageLength != sizeof digest ||
      memcmp(info.hashedMessage, digest, sizeof digest) != 0)
    return 1;
  printf("%s\n", info.genTime);
  return 0;
}
