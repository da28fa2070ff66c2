/*
 * Verifies a TSA's reply: the token is signed by the TSA that the caller trusts, for this file, and answers
 * this request.
 *
 * Not verified: whether the certificate is in force, is meant for time-stamping, and leads to a root. Pass a
 * certificate that you trust.
 */
#define _POSIX_C_SOURCE 200112L /* setenv */
#include "support.h"

#ifdef _WIN32
#define setenv(name, value, replace) _putenv_s(name, value)
#endif

static const char usage[] =
    "usage: verify_reply DATA REPLY CERTIFICATE [REQUEST]\n"
    "\n"
    "Verifies that the time-stamp reply REPLY (DER) is for the file DATA and signed by the TSA with "
    "CERTIFICATE\n"
    "(DER), and that it has the nonce of REQUEST (DER).\n";

/* token_of returns the token of a reply, for the caller to free. */
static uint8_t* token_of(const char* name, uint32_t* length) {
  uint32_t size;
  uint8_t* reply = read_message(name, &size);
  QEX_TSR_STATUS status;
  end_unless_ok(name, QEX_GetTSR_Status(&status, reply, size));
  if (status.statusText[0] != '\0') {
    fprintf(stderr, "%s: the TSA says: ", name);
    print_text(stderr, status.statusText);
    fputc('\n', stderr);
  }

  /* The library encodes the token again: ask for its length first. */
  *length = 0;
  const int32_t code = QEX_GetTSR_EncodedToken(NULL, length, reply, size);
  if (code != QEX_E_SIZE) end_unless_ok(name, code);
  uint8_t* token = allocate(*length);
  end_unless_ok(name, QEX_GetTSR_EncodedToken(token, length, reply, size));
  free(reply);
  return token;
}

static void compare_imprint(const char* name, const QEX_TSTINFO_EX* info, const char* data) {
  uint8_t digest[SHA256_BYTES];
  digest_file(data, digest);
  if (strcmp(info->hashAlgorithm, SHA256) != 0) refuse(name, "the imprint is not a SHA-256");
  if (info->hashedMessageLength != sizeof digest || memcmp(info->hashedMessage, digest, sizeof digest) != 0) {
    refuse(name, "the token is for other data");
  }
}

static void compare_nonce(const char* name, const QEX_TSTINFO_EX* info, const char* request) {
  uint32_t length;
  uint8_t* bytes = read_message(request, &length);
  QEX_TSQ_DATA_EX asked = {.size = sizeof asked};
  end_unless_ok(request, QEX_DecodeTSQ_Ex(&asked, bytes, length));
  free(bytes);
  if (info->nonceLength != asked.nonceLength || memcmp(info->nonce, asked.nonce, asked.nonceLength) != 0) {
    refuse(name, "the nonce is not that of the request");
  }
}

int main(int argc, char** argv) {
  /* Today's TSAs name their certificate in version 2 of the signing-certificate attribute (RFC 5035). Without
     this switch the library reads version 1 alone (SHA-1) and refuses their tokens. It reads the switch once,
     so it must be set before the first call; tokens of version 1 are then refused, with QEX_E_DECODE. */
  setenv("QEX_VERIFY_ESSCERTIDV2", "1", 1);
  if (argc != 4 && argc != 5) end_with_usage(usage);

  uint32_t length, certificate_length;
  uint8_t* token = token_of(argv[2], &length);
  uint8_t* certificate = read_message(argv[3], &certificate_length);
  /* Without a certificate the library would look for one in the token, and accept any signer. */
  if (certificate_length == 0) refuse(argv[3], "empty");
  end_unless_ok(argv[2], QEX_VerifyTST_Signature(token, length, certificate, certificate_length));

  QEX_TSTINFO_EX info = {.size = sizeof info};
  end_unless_ok(argv[2], QEX_GetTST_TSTInfoEx(&info, token, length));
  compare_imprint(argv[2], &info, argv[1]);
  if (argc == 5) compare_nonce(argv[2], &info, argv[4]);
  printf("%s: stamped at %s\n", argv[1], info.genTime);

  free(certificate);
  free(token);
  return EXIT_SUCCESS;
}
