/*
 * The whole job in C: digests a file, asks a TSA over a socket, checks the reply and reads its token. Pass a
 * certificate that you trust; whether it is in force and leads to a root is not checked.
 */
#define _POSIX_C_SOURCE 200112L /* setenv, getaddrinfo */
#include <netdb.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include "support.h"

static int connect_to(const char* host, const char* port) {
  struct addrinfo wanted = {.ai_socktype = SOCK_STREAM}, *found = NULL;
  if (getaddrinfo(host, port, &wanted, &found) != 0) refuse(host, "not known");
  int fd = -1;
  const struct timeval patience = {.tv_sec = 30};
  for (const struct addrinfo* at = found; fd < 0 && at != NULL; at = at->ai_next) {
    fd = socket(at->ai_family, at->ai_socktype, at->ai_protocol);
    if (fd < 0) continue;
    setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
    if (connect(fd, at->ai_addr, at->ai_addrlen) == 0) break;
    close(fd);
    fd = -1;
  }
  freeaddrinfo(found);
  if (fd < 0) refuse(host, "no connection");
  return fd;
}

/* ask sends a request in the socket framing. It returns the length of the reply, without its framing. */
static uint32_t ask(int fd, const uint8_t* request, uint32_t length, uint8_t* reply, uint32_t capacity) {
  (void)send(fd, request, length, MSG_NOSIGNAL); /* where it fails, no reply comes */
  uint32_t held = 0, size = 0, flag;
  int32_t code = QEX_E_LENGTH; /* the reply is incomplete, and stays as it is */
  for (ssize_t n; code == QEX_E_LENGTH && (n = recv(fd, reply + held, capacity - held, 0)) > 0;) {
    size = held += (uint32_t)n;
    if (held > 4) code = QEX_UnpackTSR(reply, &size, &flag, QEX_TRANSPORT_SOCKET);
  }
  close(fd);
  end_unless_ok("the reply", code);
  return size;
}

int main(int argc, char** argv) {
  setenv("QEX_VERIFY_ESSCERTIDV2", "1", 1); /* most TSAs send version 2 of the attribute */
  if (argc != 5) end_with_usage("usage: stamp DATA HOST PORT CERTIFICATE\n");
  static uint8_t reply[1 << 20], token[1 << 20], framed[512];
  QEX_TSQ_DATA_EX request = {.size = sizeof request, .hashAlgorithm = SHA256, .nonceLength = 8, .certReq = 1};
  request.hashedMessageLength = SHA256_BYTES;
  digest_file(argv[1], request.hashedMessage);
  FILE* source = fopen("/dev/urandom", "rb");
  if (source == NULL || fread(request.nonce, 1, 8, source) != 8) end_with_file_error("/dev/urandom");
  fclose(source);
  request.nonce[0] = (uint8_t)((request.nonce[0] & 0x7F) | 0x40); /* a positive INTEGER of full length */
  uint32_t length = sizeof framed, token_length = sizeof token, certificate_length;
  end_unless_ok("the request", QEX_EncodeTSQ_Ex(&request, framed, &length, QEX_TRANSPORT_SOCKET));
  length = ask(connect_to(argv[2], argv[3]), framed, length, reply, sizeof reply);
  QEX_TSR_STATUS status;
  end_unless_ok("the reply", QEX_GetTSR_Status(&status, reply, length));
  if (status.statusText[0] != '\0') {
    print_text(stderr, status.statusText);
    fputc('\n', stderr);
  }
  end_unless_ok("the reply", QEX_GetTSR_EncodedToken(token, &token_length, reply, length));
  uint8_t* certificate = read_message(argv[4], &certificate_length);
  if (certificate_length == 0) refuse(argv[4], "empty"); /* the library would accept any signer */
  end_unless_ok("the token", QEX_VerifyTST_Signature(token, token_length, certificate, certificate_length));
  free(certificate);
  QEX_TSTINFO_EX info = {.size = sizeof info};
  end_unless_ok("the token", QEX_GetTST_TSTInfoEx(&info, token, token_length));
  if (strcmp(info.hashAlgorithm, SHA256) != 0 || info.hashedMessageLength != SHA256_BYTES ||
      memcmp(info.hashedMessage, request.hashedMessage, SHA256_BYTES) != 0 || info.nonceLength != 8 ||
      memcmp(info.nonce, request.nonce, 8) != 0) {
    refuse("the token", "for other data, or the answer to another request");
  }
  printf("%s: stamped at %s\n", argv[1], info.genTime);
  return EXIT_SUCCESS;
}
