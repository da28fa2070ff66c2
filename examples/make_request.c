/*
 * Makes a time-stamp request for a file: its SHA-256, a random nonce, and a request for the TSA's
 * certificate.
 *
 * Send the request by HTTP POST as application/timestamp-query, and keep it: verify_reply compares the reply
 * with it.
 */
#define _CRT_RAND_S /* rand_s, on Windows */
#include "support.h"

static const char usage[] =
    "usage: make_request DATA REQUEST\n"
    "\n"
    "Writes a time-stamp request (DER) for the file DATA to the file REQUEST.\n";

/* set_random sets bytes that nobody can foresee. */
#ifdef _WIN32
static void set_random(uint8_t* bytes, uint32_t length) {
  for (uint32_t i = 0; i < length; ++i) {
    unsigned value;
    if ((errno = rand_s(&value)) != 0) end_with_file_error("rand_s");
    bytes[i] = (uint8_t)value;
  }
}
#else
static void set_random(uint8_t* bytes, uint32_t length) {
  const char* source = "/dev/urandom";
  FILE* file = fopen(source, "rb");
  if (file == NULL) end_with_file_error(source);
  if (fread(bytes, 1, length, file) != length) end_with_file_error(source);
  fclose(file);
}
#endif

/* set_nonce sets eight random bytes, of which the first makes the INTEGER positive and of full length. */
static void set_nonce(QEX_TSQ_DATA_EX* request) {
  request->nonceLength = 8;
  set_random(request->nonce, request->nonceLength);
  request->nonce[0] = (uint8_t)((request->nonce[0] & 0x7F) | 0x40);
}

static void write_file(const char* name, const uint8_t* bytes, uint32_t length) {
  FILE* file = fopen(name, "wb");
  if (file == NULL) end_with_file_error(name);
  const size_t written = fwrite(bytes, 1, length, file);
  if (fclose(file) != 0 || written != length) end_with_file_error(name);
}

int main(int argc, char** argv) {
  if (argc != 3) end_with_usage(usage);

  QEX_TSQ_DATA_EX request = {.size = sizeof request, .hashAlgorithm = SHA256, .certReq = 1};
  digest_file(argv[1], request.hashedMessage);
  request.hashedMessageLength = SHA256_BYTES;
  set_nonce(&request);

  uint8_t encoded[512]; /* a request without a policy has about a hundred bytes */
  uint32_t length = sizeof encoded;
  end_unless_ok(argv[2], QEX_EncodeTSQ_Ex(&request, encoded, &length, QEX_TRANSPORT_RAW));
  write_file(argv[2], encoded, length);
  return EXIT_SUCCESS;
}
