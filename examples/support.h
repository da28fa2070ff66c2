/*
 * What the examples share: files, error messages, the digest that they use.
 *
 * Exit status: 0 when all is well, 1 when a message or token is refused, 2 for usage and files.
 */
#ifndef QEX_EXAMPLES_SUPPORT_H
#define QEX_EXAMPLES_SUPPORT_H

#include <errno.h>
#include <qex.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

enum { STATUS_REFUSED = 1, STATUS_USAGE = 2 };

#define SHA256       "2.16.840.1.101.3.4.2.1"
#define SHA256_BYTES 32

static inline void end_with_usage(const char* usage) {
  fprintf(stderr, "%s", usage);
  exit(STATUS_USAGE);
}

static inline void end_with_file_error(const char* name) {
  fprintf(stderr, "%s: %s\n", name, strerror(errno));
  exit(STATUS_USAGE);
}

/* end_unless_ok ends the program with the meaning of a result code, unless it is QEX_OK. */
static inline void end_unless_ok(const char* name, int32_t code) {
  const char* text = "unknown result code";
  switch (code) {
    case QEX_OK: return;
    case QEX_E_ARG: text = "bad argument"; break;
    case QEX_E_NOMEM: text = "out of memory, or a number too large"; break;
    case QEX_E_SIZE: text = "does not fit the output buffer or a field of the record"; break;
    case QEX_E_MISSING: text = "a needed element is absent"; break;
    case QEX_E_DECODE: text = "the input does not decode or lacks the expected structure"; break;
    case QEX_E_BADTOKEN: text = "not a usable time-stamp token"; break;
    case QEX_E_SIGNATURE: text = "the signature does not verify"; break;
    case QEX_E_REJECTED: text = "the authority did not grant the request"; break;
    case QEX_E_NOTOKEN: text = "the response carries no token"; break;
    case QEX_E_LENGTH: text = "the framing announces another length"; break;
    case QEX_E_FRAMING: text = "the transport framing is not acceptable"; break;
    case QEX_E_UNSUPPORTED: text = "algorithm or transport mode not supported"; break;
    case QEX_E_NOCERT: text = "no certificate of the token matches its signing-certificate attribute"; break;
    case QEX_E_NOTAC: text = "the token carries no time attribute certificate"; break;
    case QEX_E_MISMATCH: text = "the certificate is not the one that the token names"; break;
    case QEX_E_NOPOLICY: text = "the time attribute certificate has no timing policy"; break;
    default: break;
  }
  /* The second number names the place in the ASN.1 codec; 0 when the codec was content. */
  fprintf(stderr, "%s: %s (code %d, ASN.1 error %d)\n", name, text, (int)code, (int)QEX_GetLastAsnError());
  exit(STATUS_REFUSED);
}

/* refuse ends the program because of something that is for the caller to compare. */
static inline void refuse(const char* name, const char* why) {
  fprintf(stderr, "%s: %s\n", name, why);
  exit(STATUS_REFUSED);
}

static inline uint8_t* allocate(size_t size) {
  uint8_t* bytes = malloc(size);
  if (bytes == NULL) {
    fprintf(stderr, "out of memory\n");
    exit(STATUS_USAGE);
  }
  return bytes;
}

/* print_text prints a text as the TSA wrote it, without control characters. */
static inline void print_text(FILE* file, const char* text) {
  for (; *text != '\0'; ++text) {
    const unsigned char byte = (unsigned char)*text;
    fputc(byte < 0x20 || byte == 0x7F ? '?' : byte, file);
  }
}

/* read_message returns the bytes of a file of at most 1 MiB, for the caller to free. */
static inline uint8_t* read_message(const char* name, uint32_t* length) {
  const size_t limit = 1 << 20;
  uint8_t* bytes = allocate(limit + 1);
  FILE* file = fopen(name, "rb");
  if (file == NULL) end_with_file_error(name);
  const size_t size = fread(bytes, 1, limit + 1, file);
  if (ferror(file)) end_with_file_error(name);
  fclose(file);
  if (size > limit) refuse(name, "too long for a message or certificate");
  *length = (uint32_t)size;
  return bytes;
}

/* digest_file writes the SHA-256 of a file to `digest`. */
static inline void digest_file(const char* name, uint8_t* digest) {
  uint8_t block[1 << 14];
  FILE* file = fopen(name, "rb");
  if (file == NULL) end_with_file_error(name);
  QEX_SHA256_CTX* context = QEX_SHA256_Init();
  for (size_t n; (n = fread(block, 1, sizeof block, file)) > 0;) {
    QEX_SHA256_Update(context, block, (uint32_t)n);
  }
  QEX_SHA256_Final(context, digest);
  if (ferror(file)) end_with_file_error(name);
  fclose(file);
}

#endif /* QEX_EXAMPLES_SUPPORT_H */
