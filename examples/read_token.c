/*
 * Prints the contents of a time-stamp token: time, accuracy, serial number, policy, imprint and the name of
 * the TSA.
 *
 * It verifies nothing; anyone can write such a token. See verify_reply.
 */
#include "support.h"

static const char usage[] =
    "usage: read_token TOKEN\n"
    "\n"
    "Prints what the time-stamp token TOKEN (DER) says, without verifying it.\n";

static void print_hex(const uint8_t* bytes, uint32_t length) {
  for (uint32_t i = 0; i < length; ++i) printf("%02x", bytes[i]);
}

/* print_time prints a GeneralizedTime, 20241115080000Z or with a fraction, as 2024-11-15 08:00:00 UTC. Any
   other text is printed unchanged. */
static void print_time(const char* text) {
  const size_t digits = strspn(text, "0123456789");
  const size_t length = strlen(text);
  if (digits != 14 || text[length - 1] != 'Z') {
    printf("%s\n", text);
    return;
  }
  printf("%.4s-%.2s-%.2s %.2s:%.2s:%.2s%.*s UTC\n", text, text + 4, text + 6, text + 8, text + 10, text + 12,
         (int)(length - digits - 1), text + digits);
}

int main(int argc, char** argv) {
  if (argc != 2) end_with_usage(usage);

  uint32_t length;
  uint8_t* token = read_message(argv[1], &length);
  QEX_TSTINFO_EX info = {.size = sizeof info};
  /* QEX_OK: every value is whole in its field. */
  end_unless_ok(argv[1], QEX_GetTST_TSTInfoEx(&info, token, length));
  free(token);

  printf("time      ");
  print_time(info.genTime);
  printf("accuracy  %u s, %u ms, %u us\n", (unsigned)info.accuracySeconds, (unsigned)info.accuracyMillis,
         (unsigned)info.accuracyMicros);
  /* A zero byte only keeps the sign of the INTEGER. */
  const uint32_t sign = info.serialNumberLength > 1 && info.serialNumber[0] == 0 ? 1 : 0;
  printf("serial    0x");
  print_hex(info.serialNumber + sign, info.serialNumberLength - sign);
  printf("\npolicy    %s\nimprint   %s ", info.policy, info.hashAlgorithm);
  print_hex(info.hashedMessage, info.hashedMessageLength);
  printf("\ntsa       ");
  print_text(stdout, info.tsaName[0] == '\0' ? "-" : info.tsaName);
  printf("\n");
  return ferror(stdout) || fflush(stdout) != 0 ? STATUS_USAGE : EXIT_SUCCESS;
}
