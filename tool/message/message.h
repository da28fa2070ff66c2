// Messages and certificates as they lie in files: DER or BER, bare or as PEM or base64, told by
// their structure.
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

// Source is where a message lies: in a file, or at hand under a name for lines. An empty path is no source.
struct Source {
  Source(std::string place = {}, std::optional<Bytes> octets = {})  // a path is a source as it stands
      : path(std::move(place)), data(std::move(octets)) {}

  std::string path;
  std::optional<Bytes> data;
};

struct Message {
  std::string path;
  Bytes octets;  // without PEM or base64 around them
  inspect::Kind kind;
};

// ParseMessage takes the armour off and tells the kind, Unknown included.
Message ParseMessage(std::string path, Bytes data);

// ReadAnyMessage reads a source; throws a Failure when it is no message of a known kind.
Message ReadAnyMessage(const Source& source);

// ReadMessageOf reads a source that must hold a message of `kind`; throws a Failure that says what
// it is instead.
Message ReadMessageOf(const Source& source, inspect::Kind kind);

// AsTokenOrReply hands on a message that is a token or a reply; throws a Failure for any other.
Message AsTokenOrReply(Message message);

// ReadTokenOrReply reads a file that must hold one of the two.
Message ReadTokenOrReply(const std::string& path);

// PemBlocks returns what lies in the PEM blocks of `data` whose label is one of `labels`: nothing for a block
// that is no base64, or was cut off.
std::vector<Bytes> PemBlocks(ByteView data, std::span<const std::string_view> labels);

// HoldsPem returns whether a PEM block begins somewhere in `data`.
bool HoldsPem(ByteView data);

// ToPem renders DER under a label such as CERTIFICATE.
std::string ToPem(ByteView der, const std::string& label);

}  // namespace qex::tool
