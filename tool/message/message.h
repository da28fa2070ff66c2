// Messages and certificates in files: DER or BER, bare or as PEM or base64, recognised by their structure.
#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "tool/base/bytes.h"
#include "tool/message/structure.h"

namespace qex::tool {

// Source is the place of a message: a file, or octets in memory with a name for lines. An empty path means no
// source.
struct Source {
  Source(std::string place = {}, std::optional<Bytes> octets = {})  // a path converts to a source
      : path(std::move(place)), data(std::move(octets)) {}

  std::string path;
  std::optional<Bytes> data;
};

struct Message {
  std::string path;
  Bytes octets;  // without PEM or base64 around them
  inspect::Kind kind;
};

// ParseMessage removes the armour and determines the kind, which may be Unknown.
Message ParseMessage(std::string path, Bytes data);

// ReadAnyMessage reads a source; throws a Failure when it is not a message of a known kind.
Message ReadAnyMessage(const Source& source);

// ReadMessageOf reads a source that must hold a message of `kind`; throws a Failure that names the actual
// kind otherwise.
Message ReadMessageOf(const Source& source, inspect::Kind kind);

// AsTokenOrReply hands on a message that is a token or a reply; throws a Failure for any other.
Message AsTokenOrReply(Message message);

// ReadTokenOrReply reads a file that must hold one of the two.
Message ReadTokenOrReply(const std::string& path);

// PemBlocks returns the contents of the PEM blocks of `data` whose label is one of `labels`: nothing for a
// block that is not base64 or was cut off.
std::vector<Bytes> PemBlocks(ByteView data, std::span<const std::string_view> labels);

// HoldsPem returns whether a PEM block begins somewhere in `data`.
[[nodiscard]] bool HoldsPem(ByteView data);

// ToBase64 renders octets as base64, without line feeds.
std::string ToBase64(ByteView octets);

// ToPem renders DER under a label such as CERTIFICATE.
std::string ToPem(ByteView der, const std::string& label);

}  // namespace qex::tool
