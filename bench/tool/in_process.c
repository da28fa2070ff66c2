/* The cost of the tool's checks without the tool: the same calls of both libraries, in one process per core,
 * with nothing between caller and input. For the comparison in scripts/bench-tool.sh.
 *
 * usage: qex_in_process ROOT PROCESSES < LIST      LIST names stamped files, FILE.tsr lies beside each */
#define _POSIX_C_SOURCE 200809L  // strdup, setenv
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/wait.h>
#include <unistd.h>

#include <openssl/cms.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/x509_vfy.h>

#include "api/qex.h"

enum { kMaxFile = 1 << 20 };

static uint8_t content[kMaxFile];
static uint8_t reply[kMaxFile];
static uint8_t token[kMaxFile];

static void need(int true_, const char* what) {
  if (true_) return;
  fprintf(stderr, "qex_in_process: %s\n", what);
  exit(2);
}

static uint32_t read_file(const char* name, uint8_t* data) {
  FILE* file = fopen(name, "rb");
  need(file != NULL, name);
  const size_t length = fread(data, 1, kMaxFile, file);
  fclose(file);
  return (uint32_t)length;
}

static X509_STORE* store_of(const char* root) {
  X509_STORE* store = X509_STORE_new();
  need(store != NULL && X509_STORE_load_file(store, root) == 1, "the root cannot be read");
  X509_VERIFY_PARAM_set_purpose(X509_STORE_get0_param(store), X509_PURPOSE_TIMESTAMP_SIGN);
  return store;
}

static int accepted_by_library(uint32_t tokenLength, const uint8_t* digest) {
  QEX_TSTINFO_EX info;
  uint8_t certificate[8192];
  uint32_t certificateLength = sizeof certificate;
  memset(&info, 0, sizeof info);
  info.size = sizeof info;
  return QEX_GetTST_TSTInfoEx(&info, token, tokenLength) == QEX_OK &&
         QEX_GetTST_TSACert(certificate, &certificateLength, token, tokenLength) == QEX_OK &&
         QEX_VerifyTST_Signature(token, tokenLength, NULL, 0) == QEX_OK && info.hashedMessageLength == 32 &&
         memcmp(info.hashedMessage, digest, 32) == 0;
}

static int accepted_by_libcrypto(uint32_t tokenLength, X509_STORE* store) {
  const uint8_t* at = token;
  CMS_ContentInfo* message = d2i_CMS_ContentInfo(NULL, &at, (long)tokenLength);
  const int good = message != NULL &&
                   CMS_verify(message, NULL, store, NULL, NULL, CMS_BINARY | CMS_NO_CONTENT_VERIFY) == 1;
  CMS_ContentInfo_free(message);
  return good;
}

static int verify(const char* name, X509_STORE* store) {
  char replyName[4096];
  uint8_t digest[EVP_MAX_MD_SIZE];
  uint32_t tokenLength = sizeof token;
  snprintf(replyName, sizeof replyName, "%s.tsr", name);
  const uint32_t replyLength = read_file(replyName, reply);
  const uint32_t contentLength = read_file(name, content);
  need(EVP_Digest(content, contentLength, digest, NULL, EVP_sha256(), NULL) == 1, "no digest");
  return QEX_GetTSR_EncodedToken(token, &tokenLength, reply, replyLength) == QEX_OK &&
         accepted_by_library(tokenLength, digest) && accepted_by_libcrypto(tokenLength, store);
}

/* Every `step`th name of the list, beginning with one. */
static int verify_share(char** names, size_t count, size_t first, size_t step, const char* root) {
  X509_STORE* store = store_of(root);
  for (size_t i = first; i < count; i += step) {
    const int good = verify(names[i], store);
    printf("%s  %s\n", good ? "pass" : "fail", names[i]);
    if (!good) return 1;
  }
  fflush(stdout);
  X509_STORE_free(store);
  return 0;
}

int main(int argc, char** argv) {
  static char* names[1 << 20];
  static char line[4096];
  size_t count = 0;
  need(argc == 3 && atoi(argv[2]) > 0, "usage: qex_in_process ROOT PROCESSES < LIST");
  while (count < sizeof names / sizeof *names && fgets(line, sizeof line, stdin) != NULL) {
    line[strcspn(line, "\n")] = '\0';
    names[count++] = strdup(line);
  }
  const int processes = atoi(argv[2]);
  setenv("QEX_VERIFY_ESSCERTIDV2", "1", 1);
  for (int i = 0; i < processes; ++i) {
    const pid_t child = fork();
    need(child >= 0, "no process");
    if (child == 0) exit(verify_share(names, count, (size_t)i, (size_t)processes, argv[1]));
  }
  int result = 0;
  for (int i = 0; i < processes; ++i) {
    int status = 0;
    wait(&status);
    if (status != 0) result = 1;
  }
  return result;
}
