// Open types and their two tables.
//
// A table has 256 slots, chosen by the low 8 bits of the hash. Where two hashes collide, the slot turns from
// a leaf into a further table that uses the next 8 bits, so there are at most four levels of tables. The hash
// in an entry is shifted by 8 bits for each level above it.
#include "ber/open_types.h"

#include <cstdlib>
#include <cstring>

#include "ber/memory.h"

namespace qex {

namespace {

struct Table;

struct Entry {
  uint8_t leaf;
  uint8_t zero[3];
  uint32_t hash;
  AnyInfo* value;
  Table* table;  // in place of the value once `leaf` is 0
};

struct Table {
  Entry* slots[256];
};

Table* oid_table = nullptr;
Table* int_table = nullptr;

Entry** slot_of(Table* table, uint32_t hash) {
  return &table->slots[hash % 256];
}

enum class Values : bool { kKeep, kRelease };

// release_table frees a table and the tables below it, and the values of the leaves too when `values` says
// so. Its recursion is as deep as the tables.
void release_table(Table* table, Values values) {
  if (table == nullptr) return;
  for (Entry* entry : table->slots) {
    if (entry == nullptr) continue;
    if (entry->leaf == 0) {
      release_table(entry->table, values);
    } else if (values == Values::kRelease) {
      AsnFree(entry->value);
    }
    AsnFree(entry);
  }
  AsnFree(table);
}

enum class Inserted { kStored, kPresent, kNoMemory };

Inserted insert(Table* table, uint32_t hash, AnyInfo* info);

// split turns the leaf `entry` into a table that holds its value and the new one. If an allocation fails, the
// leaf is unchanged.
Inserted split(Entry* entry, uint32_t hash, AnyInfo* info) {
  auto* table = static_cast<Table*>(AsnAlloc(sizeof(Table)));
  if (table == nullptr) return Inserted::kNoMemory;
  if (insert(table, entry->hash >> 8, entry->value) == Inserted::kNoMemory ||
      insert(table, hash >> 8, info) == Inserted::kNoMemory) {
    release_table(table, Values::kKeep);
    return Inserted::kNoMemory;
  }
  entry->leaf = 0;
  entry->value = nullptr;
  entry->table = table;
  return Inserted::kStored;
}

Inserted insert(Table* table, uint32_t hash, AnyInfo* info) {
  for (;;) {
    Entry** slot = slot_of(table, hash);
    Entry* entry = *slot;
    if (entry == nullptr) {
      entry = static_cast<Entry*>(AsnAlloc(sizeof(Entry)));
      if (entry == nullptr) return Inserted::kNoMemory;
      entry->leaf = 1;
      entry->hash = hash;
      entry->value = info;
      *slot = entry;
      return Inserted::kStored;
    }
    // A slot that has been split keeps the hash of its first key, which is in the table below.
    if (entry->hash == hash) return Inserted::kPresent;
    if (entry->leaf != 0) return split(entry, hash, info);
    table = entry->table;
    hash >>= 8;
  }
}

const AnyInfo* look_up(Table* table, uint32_t hash) {
  while (table != nullptr) {
    const Entry* entry = *slot_of(table, hash);
    if (entry == nullptr) return nullptr;
    if (entry->leaf != 0) return entry->hash == hash ? entry->value : nullptr;
    table = entry->table;
    hash >>= 8;
  }
  return nullptr;
}

uint32_t hash_of(int32_t intId) {
  uint8_t octets[sizeof intId];  // in memory order
  std::memcpy(octets, &intId, sizeof intId);
  return AnyKeyHash(octets, sizeof octets);
}

// install stores a copy of `info` in `*table`, which it creates when it is the first.
[[nodiscard]] bool install(Table** table, uint32_t hash, const AnyInfo& info) {
  static const bool released_at_exit = std::atexit(FreeAnyTables) == 0;
  static_cast<void>(released_at_exit);
  if (*table == nullptr) *table = static_cast<Table*>(AsnAlloc(sizeof(Table)));
  if (*table == nullptr) return false;
  auto* copy = static_cast<AnyInfo*>(AsnAlloc(sizeof(AnyInfo)));
  if (copy == nullptr) return false;
  *copy = info;
  const Inserted outcome = insert(*table, hash, copy);
  if (outcome != Inserted::kStored) AsnFree(copy);
  return outcome != Inserted::kNoMemory;
}

}  // namespace

bool InstallAnyByOid(int32_t anyId, const AsnOid& oid, uint32_t size, AnyEncode encode, AnyDecode decode,
                     AnyFree free, AnyPrint print) {
  const AnyInfo info = {.anyId = anyId,
                        .oid = oid,
                        .intId = 0,
                        .size = size,
                        .Encode = encode,
                        .Decode = decode,
                        .Free = free,
                        .Print = print};
  return install(&oid_table, AnyKeyHash(oid.octs, oid.count), info);
}

bool InstallAnyByInt(int32_t anyId, int32_t intId, uint32_t size, AnyEncode encode, AnyDecode decode,
                     AnyFree free, AnyPrint print) {
  const AnyInfo info = {.anyId = anyId,
                        .oid = {},
                        .intId = intId,
                        .size = size,
                        .Encode = encode,
                        .Decode = decode,
                        .Free = free,
                        .Print = print};
  return install(&int_table, hash_of(intId), info);
}

void FreeAnyTables() {
  release_table(oid_table, Values::kRelease);
  release_table(int_table, Values::kRelease);
  oid_table = nullptr;
  int_table = nullptr;
}

void SetAnyTypeByOid(AsnAny* any, const AsnOid& oid) {
  any->ai = look_up(oid_table, AnyKeyHash(oid.octs, oid.count));
}

void SetAnyTypeByInt(AsnAny* any, int32_t intId) {
  any->ai = look_up(int_table, hash_of(intId));
}

uint32_t AnyKeyHash(const uint8_t* octets, size_t n) {
  uint32_t hash = 0;
  for (size_t i = 0; i < n; ++i) hash = hash * 65587 + uint32_t(int8_t(octets[i]));
  return hash;
}

void BDecAny(ExpBuf** b, AsnAny* any, AsnLen* bytes, AsnJmpEnv& env) {
  if (any->ai == nullptr || any->ai->Decode == nullptr) {
    AsnFail(env, -44, "ERROR - ANY Decode routine is NULL\n");
  }
  if (env.openTypeDepth >= kMaxOpenTypeDepth) {
    AsnFail(env, kOpenTypeDepthCode, "ERROR - open types nested too deep\n");
  }
  any->value = AsnNew(any->ai->size, env);
  // Not counted back when the decoder is left by a jump: the recovery point ends with it.
  ++env.openTypeDepth;
  any->ai->Decode(b, any->value, bytes, env);
  --env.openTypeDepth;
}

AsnLen BEncAny(ExpBuf** b, const AsnAny* any) {
  if (any->ai == nullptr || any->ai->Encode == nullptr || any->value == nullptr) return 0;
  return any->ai->Encode(b, any->value);
}

void FreeAny(AsnAny* any) {
  if (any->value == nullptr) return;
  if (any->ai != nullptr && any->ai->Free != nullptr) any->ai->Free(any->value);
  AsnFree(any->value);
  any->value = nullptr;
}

void PrintAny(FILE* f, const AsnAny* any, unsigned indent) {
  if (any->ai != nullptr && any->ai->Print != nullptr && any->value != nullptr) {
    any->ai->Print(f, any->value, indent);
  } else {
    std::fputs(" -- ERROR: malformed ANY value --", f);
  }
}

}  // namespace qex
