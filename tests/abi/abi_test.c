/*
 * The binary interface, seen from strict C99: record sizes and offsets, the digests, and a request
 * encoded in each framing. Expected digests are the examples of RFC 1321 and FIPS 180-4; the
 * request's octets were laid out by hand from RFC 3161, 2.4.1, and X.690.
 */
#include <stddef.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "qex.h"

static int failures;

#define CHECK(condition)                                                            \
  do {                                                                              \
    if (!(condition)) {                                                             \
      fprintf(stderr, "%s:%d: %s does not hold\n", __FILE__, __LINE__, #condition); \
      ++failures;                                                                   \
    }                                                                               \
  } while (0)

static void records_have_their_sizes_and_offsets(void) {
  /* Sizes reach the caller through a variable: the size fields are filled at run time. */
  static const struct {
    const char* name;
    size_t is, shall_be;
  } rows[] = {
      {"QEX_U64", sizeof(QEX_U64), 8},
      {"QEX_U64.low", offsetof(QEX_U64, low), 4},
      {"QEX_TSQ_DATA_EX", sizeof(QEX_TSQ_DATA_EX), 440},
      {"QEX_TSQ_DATA_EX.hashAlgorithm", offsetof(QEX_TSQ_DATA_EX, hashAlgorithm), 4},
      {"QEX_TSQ_DATA_EX.hashedMessage", offsetof(QEX_TSQ_DATA_EX, hashedMessage), 132},
      {"QEX_TSQ_DATA_EX.hashedMessageLength", offsetof(QEX_TSQ_DATA_EX, hashedMessageLength), 260},
      {"QEX_TSQ_DATA_EX.reqPolicy", offsetof(QEX_TSQ_DATA_EX, reqPolicy), 264},
      {"QEX_TSQ_DATA_EX.nonce", offsetof(QEX_TSQ_DATA_EX, nonce), 392},
      {"QEX_TSQ_DATA_EX.nonceLength", offsetof(QEX_TSQ_DATA_EX, nonceLength), 432},
      {"QEX_TSQ_DATA_EX.certReq", offsetof(QEX_TSQ_DATA_EX, certReq), 436},
      {"QEX_TSQ_DATA", sizeof(QEX_TSQ_DATA), 312},
      {"QEX_TSQ_DATA.hashedMessage", offsetof(QEX_TSQ_DATA, hashedMessage), 128},
      {"QEX_TSQ_DATA.hashedMessageLength", offsetof(QEX_TSQ_DATA, hashedMessageLength), 168},
      {"QEX_TSQ_DATA.reqPolicy", offsetof(QEX_TSQ_DATA, reqPolicy), 172},
      {"QEX_TSQ_DATA.nonce", offsetof(QEX_TSQ_DATA, nonce), 300},
      {"QEX_TSQ_DATA.certReq", offsetof(QEX_TSQ_DATA, certReq), 308},
      {"QEX_TSR_STATUS", sizeof(QEX_TSR_STATUS), 88},
      {"QEX_TSR_STATUS.statusText", offsetof(QEX_TSR_STATUS, statusText), 4},
      {"QEX_TSR_STATUS.failInfo", offsetof(QEX_TSR_STATUS, failInfo), 84},
      {"QEX_TSTINFO_EX", sizeof(QEX_TSTINFO_EX), 1044},
      {"QEX_TSTINFO_EX.policy", offsetof(QEX_TSTINFO_EX, policy), 8},
      {"QEX_TSTINFO_EX.serialNumber", offsetof(QEX_TSTINFO_EX, serialNumber), 396},
      {"QEX_TSTINFO_EX.genTime", offsetof(QEX_TSTINFO_EX, genTime), 440},
      {"QEX_TSTINFO_EX.nonce", offsetof(QEX_TSTINFO_EX, nonce), 488},
      {"QEX_TSTINFO_EX.tsaName", offsetof(QEX_TSTINFO_EX, tsaName), 532},
      {"QEX_TSTINFO", sizeof(QEX_TSTINFO), 880},
      {"QEX_TSTINFO.serialNumber", offsetof(QEX_TSTINFO, serialNumber), 304},
      {"QEX_TSTINFO.genTime", offsetof(QEX_TSTINFO, genTime), 312},
      {"QEX_TSTINFO.nonce", offsetof(QEX_TSTINFO, nonce), 360},
      {"QEX_TSTINFO.tsaName", offsetof(QEX_TSTINFO, tsaName), 368},
      {"QEX_TACINFO_EX", sizeof(QEX_TACINFO_EX), 2556},
      {"QEX_TACINFO_EX.version", offsetof(QEX_TACINFO_EX, version), 4},
      {"QEX_TACINFO_EX.holderName", offsetof(QEX_TACINFO_EX, holderName), 8},
      {"QEX_TACINFO_EX.digestAlgorithm", offsetof(QEX_TACINFO_EX, digestAlgorithm), 520},
      {"QEX_TACINFO_EX.objectDigest", offsetof(QEX_TACINFO_EX, objectDigest), 648},
      {"QEX_TACINFO_EX.objectDigestLen", offsetof(QEX_TACINFO_EX, objectDigestLen), 776},
      {"QEX_TACINFO_EX.issuerName", offsetof(QEX_TACINFO_EX, issuerName), 780},
      {"QEX_TACINFO_EX.serialNumber", offsetof(QEX_TACINFO_EX, serialNumber), 1292},
      {"QEX_TACINFO_EX.serialNumberLen", offsetof(QEX_TACINFO_EX, serialNumberLen), 1332},
      {"QEX_TACINFO_EX.notBefore", offsetof(QEX_TACINFO_EX, notBefore), 1336},
      {"QEX_TACINFO_EX.notAfter", offsetof(QEX_TACINFO_EX, notAfter), 1368},
      {"QEX_TACINFO_EX.signatureAlgorithm", offsetof(QEX_TACINFO_EX, signatureAlgorithm), 1400},
      {"QEX_TACINFO_EX.signatureValue", offsetof(QEX_TACINFO_EX, signatureValue), 1528},
      {"QEX_TACINFO_EX.signatureValueLen", offsetof(QEX_TACINFO_EX, signatureValueLen), 2552},
      {"QEX_TACINFO", sizeof(QEX_TACINFO), 2428},
      {"QEX_TACINFO.holderName", offsetof(QEX_TACINFO, holderName), 4},
      {"QEX_TACINFO.objectDigest", offsetof(QEX_TACINFO, objectDigest), 644},
      {"QEX_TACINFO.objectDigestLen", offsetof(QEX_TACINFO, objectDigestLen), 684},
      {"QEX_TACINFO.issuerName", offsetof(QEX_TACINFO, issuerName), 688},
      {"QEX_TACINFO.serialNumber", offsetof(QEX_TACINFO, serialNumber), 1200},
      {"QEX_TACINFO.notBefore", offsetof(QEX_TACINFO, notBefore), 1208},
      {"QEX_TACINFO.notAfter", offsetof(QEX_TACINFO, notAfter), 1240},
      {"QEX_TACINFO.signatureAlgorithm", offsetof(QEX_TACINFO, signatureAlgorithm), 1272},
      {"QEX_TACINFO.signatureValue", offsetof(QEX_TACINFO, signatureValue), 1400},
      {"QEX_TACINFO.signatureValueLen", offsetof(QEX_TACINFO, signatureValueLen), 2424},
      {"QEX_TIMING_METRICS_EX", sizeof(QEX_TIMING_METRICS_EX), 108},
      {"QEX_TIMING_METRICS_EX.offset", offsetof(QEX_TIMING_METRICS_EX, offset), 32},
      {"QEX_TIMING_METRICS_EX.delay", offsetof(QEX_TIMING_METRICS_EX, delay), 36},
      {"QEX_TIMING_METRICS_EX.expiration", offsetof(QEX_TIMING_METRICS_EX, expiration), 40},
      {"QEX_TIMING_METRICS_EX.leapAction", offsetof(QEX_TIMING_METRICS_EX, leapAction), 72},
      {"QEX_TIMING_METRICS_EX.leapTime", offsetof(QEX_TIMING_METRICS_EX, leapTime), 76},
      {"QEX_TIMING_METRICS", sizeof(QEX_TIMING_METRICS), 72},
      {"QEX_TIMING_METRICS.offset", offsetof(QEX_TIMING_METRICS, offset), 32},
      {"QEX_TIMING_METRICS.delay", offsetof(QEX_TIMING_METRICS, delay), 36},
      {"QEX_TIMING_METRICS.expiration", offsetof(QEX_TIMING_METRICS, expiration), 40},
      {"QEX_TIMING_POLICY", sizeof(QEX_TIMING_POLICY), 136},
      {"QEX_TIMING_POLICY.maxOffset", offsetof(QEX_TIMING_POLICY, maxOffset), 128},
      {"QEX_TIMING_POLICY.maxDelay", offsetof(QEX_TIMING_POLICY, maxDelay), 132},
  };
  for (size_t i = 0; i < sizeof rows / sizeof rows[0]; ++i) {
    if (rows[i].is != rows[i].shall_be) {
      fprintf(stderr, "%s: %lu, shall be %lu\n", rows[i].name, (unsigned long)rows[i].is,
              (unsigned long)rows[i].shall_be);
      ++failures;
    }
  }
}

/* same_hex compares `length` octets with their lower-case hexadecimal text. */
static int same_hex(const uint8_t* octets, size_t length, const char* hex) {
  if (strlen(hex) != 2 * length) return 0;
  for (size_t i = 0; i < length; ++i) {
    char text[3];
    snprintf(text, sizeof text, "%02x", (unsigned)octets[i]);
    if (memcmp(text, hex + 2 * i, 2) != 0) return 0;
  }
  return 1;
}

static const uint8_t kAbc[3] = {'a', 'b', 'c'};

static void digests_of_abc_are_those_of_the_standards(void) {
  uint8_t digest[64];

  QEX_MD5_CTX* md5 = QEX_MD5_Init();
  QEX_MD5_Update(md5, kAbc, 3);
  QEX_MD5_Final(md5, digest);
  CHECK(same_hex(digest, 16, "900150983cd24fb0d6963f7d28e17f72"));

  QEX_SHA1_CTX* sha1 = QEX_SHA1_Init();
  QEX_SHA1_Update(sha1, kAbc, 3);
  QEX_SHA1_Final(sha1, digest);
  CHECK(same_hex(digest, 20, "a9993e364706816aba3e25717850c26c9cd0d89d"));

  QEX_SHA256_CTX* sha256 = QEX_SHA256_Init();
  QEX_SHA256_Update(sha256, kAbc, 1);
  QEX_SHA256_Update(sha256, kAbc + 1, 2);
  QEX_SHA256_Final(sha256, digest);
  CHECK(same_hex(digest, 32, "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad"));

  QEX_SHA512_CTX* sha384 = QEX_SHA384_Init();
  QEX_SHA384_Update(sha384, kAbc, 3);
  QEX_SHA384_Final(sha384, digest);
  CHECK(same_hex(digest, 48,
                 "cb00753f45a35e8bb5a03d699ac65007272c32ab0eded1631a8b605a43ff5bed"
                 "8086072ba1e7cc2358baeca134c825a7"));

  QEX_SHA512_CTX* sha512 = QEX_SHA512_Init();
  QEX_SHA512_Update(sha512, kAbc, 3);
  QEX_SHA512_Final(sha512, digest);
  CHECK(same_hex(digest, 64,
                 "ddaf35a193617abacc417349ae20413112e6fa4e89a97ea20a9eeee64b55d39a"
                 "2192992a274fc1a836ba3c23a3feebbd454d4423643ce80e2a9ac94fa54ca49f"));
}

static void the_two_updates_of_the_sha512_family_are_one_function(void) {
  /* Through volatile objects: a compiler may take two names for two functions without looking. */
  void (*volatile const one)(QEX_SHA512_CTX*, const uint8_t*, uint32_t) = QEX_SHA384_Update;
  void (*volatile const other)(QEX_SHA512_CTX*, const uint8_t*, uint32_t) = QEX_SHA512_Update;
  CHECK(one == other);
}

/* SEQUENCE { 1, { { sha256 }, 32 octets 0x5A }, policy 1.2.3, nonce 0x00FF, certReq TRUE } */
static const char kRequest[] =
    "303f"
    "020101"
    "302f"
    "300b0609608648016503040201"
    "04205a5a5a5a5a5a5a5a5a5a5a5a5a5a5a5a5a5a5a5a5a5a5a5a5a5a5a5a5a5a5a5a"
    "06022a03"
    "020200ff"
    "0101ff";

static void fill_request(QEX_TSQ_DATA_EX* request) {
  memset(request, 0, sizeof *request);
  request->size = sizeof *request;
  strcpy(request->hashAlgorithm, "2.16.840.1.101.3.4.2.1");
  memset(request->hashedMessage, 0x5A, 32);
  request->hashedMessageLength = 32;
  strcpy(request->reqPolicy, "1.2.3");
  request->nonce[1] = 0xFF;
  request->nonceLength = 2;
  request->certReq = 1;
}

static void requests_are_encoded_in_each_framing_and_read_back(void) {
  static const uint32_t heads[] = {0, 5, 117};
  QEX_TSQ_DATA_EX request;
  fill_request(&request);

  for (uint32_t transport = QEX_TRANSPORT_RAW; transport <= QEX_TRANSPORT_HTTP; ++transport) {
    const uint32_t head = heads[transport];
    uint32_t length = 0;
    CHECK(QEX_EncodeTSQ_Ex(&request, NULL, &length, transport) == QEX_E_SIZE);
    CHECK(length == head + 65);

    /* Exactly as large as asked for: a write beyond it is seen by the sanitizers. */
    uint8_t* out = malloc(length);
    if (out == NULL) abort();
    CHECK(QEX_EncodeTSQ_Ex(&request, out, &length, transport) == QEX_OK);
    CHECK(same_hex(out + head, length - head, kRequest));
    if (transport == QEX_TRANSPORT_SOCKET) CHECK(memcmp(out, "\0\0\0\x42\0", 5) == 0);
    if (transport == QEX_TRANSPORT_HTTP) {
      CHECK(memcmp(out,
                   "POST /VKS/HttpTspServer HTTP/1.0\r\n"
                   "Content-Type: application/timestamp-query; charset=binary\r\n"
                   "Content-Length:   65\r\n\r\n",
                   117) == 0);
    }

    QEX_TSQ_DATA_EX read;
    memset(&read, 0xA5, sizeof read);
    read.size = sizeof read;
    CHECK(QEX_DecodeTSQ_Ex(&read, out, length) == QEX_OK);
    CHECK(memcmp(&read, &request, sizeof read) == 0);
    CHECK(QEX_GetLastAsnError() == 0);
    free(out);
  }
}

static void refusals_come_as_codes(void) {
  QEX_TSQ_DATA_EX request;
  uint32_t length = 0;
  fill_request(&request);
  CHECK(QEX_EncodeTSQ_Ex(NULL, NULL, &length, QEX_TRANSPORT_RAW) == QEX_E_ARG);
  CHECK(QEX_EncodeTSQ_Ex(&request, NULL, &length, QEX_TRANSPORT_RESERVED) == QEX_E_UNSUPPORTED);
  request.size = 439;
  CHECK(QEX_EncodeTSQ_Ex(&request, NULL, &length, QEX_TRANSPORT_RAW) == QEX_E_ARG);
  CHECK(length == 0);

  /* A rejection (status 2, failInfo badAlg) carries no token. */
  static const uint8_t rejected[] = {0x30, 0x09, 0x30, 0x07, 0x02, 0x01, 0x02, 0x03, 0x02, 0x07, 0x80};
  QEX_TSR_STATUS status;
  CHECK(QEX_GetTSR_Status(&status, rejected, sizeof rejected) == QEX_OK);
  CHECK(status.status == 2 && status.statusText[0] == 0 && status.failInfo == 0);
  CHECK(QEX_GetTSR_EncodedToken(NULL, &length, rejected, sizeof rejected) == QEX_E_REJECTED);
}

int main(void) {
  records_have_their_sizes_and_offsets();
  digests_of_abc_are_those_of_the_standards();
  the_two_updates_of_the_sha512_family_are_one_function();
  requests_are_encoded_in_each_framing_and_read_back();
  refusals_come_as_codes();
  if (failures != 0) fprintf(stderr, "%d checks failed\n", failures);
  return failures != 0;
}
