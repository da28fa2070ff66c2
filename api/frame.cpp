// The frame's process-wide state and its conversions.
#include "api/frame.h"

#include <mutex>

#include "asn1/oids.h"
#include "ber/memory.h"

namespace qex {
namespace {

std::mutex asnInitMutex;
std::atomic<bool> asnInitDone{false};

}  // namespace

std::atomic<int32_t> lastAsnError{0};

bool EnsureAsnInit() {
  if (asnInitDone.load(std::memory_order_acquire)) return true;
  const std::lock_guard lock(asnInitMutex);
  if (asnInitDone.load(std::memory_order_relaxed)) return true;
  ExpBufSetBlockSize(kLibraryBlockSize);
  if (!RegisterOpenTypes()) {
    FreeAnyTables();
    return false;
  }
  asnInitDone.store(true, std::memory_order_release);
  return true;
}

bool ProcessAttach(void*, uint32_t, void*) {
  return true;
}

bool EncodingEquals(const ExpBufHolder& buf, const uint8_t* octets, size_t length) {
  if (EncodedLength(buf) != length) return false;
  for (const ExpBuf* block = buf.block(); block != nullptr; block = block->nextBlock) {
    if (!std::equal(block->first, block->end, octets)) return false;
    octets += block->end - block->first;
  }
  return true;
}

int32_t CopyOut(ExpBufHolder& buf, uint8_t* out, uint32_t capacity, uint32_t* outLength) {
  const uint32_t length = EncodedLength(buf);
  *outLength = length;
  if (out == nullptr || capacity < length) return QEX_E_SIZE;
  ExpBufCopyOut(out, buf.handle(), length);
  return QEX_OK;
}

AsnAny NullParameters() {
  static const AsnNull null{};
  AsnAny any{};
  SetAnyTypeByOid(&any, kIdMd5);            // a registered NULL
  any.value = const_cast<AsnNull*>(&null);  // an encoder only reads it
  return any;
}

int32_t AsnIntToU64(const AsnOcts& value, QEX_U64* out) {
  *out = {};
  const uint8_t* octets = value.octs;
  uint32_t left = value.count;
  if (left > 9 || (left == 9 && octets[0] != 0)) return -1;
  if (left == 9) {
    ++octets;
    --left;
  }
  for (; left > 4; --left) out->high = out->high << 8 | *octets++;
  for (; left > 0; --left) out->low = out->low << 8 | *octets++;
  return 0;
}

int32_t U64ToAsnInt(const QEX_U64& in, AsnOcts* out) {
  *out = {};
  uint8_t octets[9] = {};  // a zero octet first, for a value whose high bit is set
  for (int i = 0; i < 4; ++i) {
    octets[1 + i] = uint8_t(in.high >> (24 - 8 * i));
    octets[5 + i] = uint8_t(in.low >> (24 - 8 * i));
  }
  const uint8_t* first = std::find_if(octets, octets + 9, [](uint8_t octet) { return octet != 0; });
  if (first == octets + 9) return 0;
  if (*first >= 0x80) --first;  // stays positive
  const auto count = uint32_t(octets + 9 - first);
  out->octs = static_cast<uint8_t*>(AsnAlloc(count));
  if (out->octs == nullptr) return -1;
  out->count = count;
  std::memcpy(out->octs, first, count);
  return 0;
}

}  // namespace qex

extern "C" int32_t QEX_GetLastAsnError() noexcept {
  return qex::lastAsnError;
}

#ifdef _WIN32
extern "C" int __stdcall DllMain(void* module, unsigned long reason, void* reserved) {
  return qex::ProcessAttach(module, reason, reserved) ? 1 : 0;
}
#endif
