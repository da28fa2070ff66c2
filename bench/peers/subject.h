// Subjects, from the folder that make_material.py fills.
#pragma once

#include <optional>

#include "bench/peers/row.h"

namespace qex::bench {

// ReadSubject returns the subject of a row; throws std::runtime_error when its file cannot be read.
Subject ReadSubject(const std::string& folder, const Row& row);

// Damaged is a subject with another last octet, in its message as in its parts: the signature's last one, as
// tokens end with it.
Subject Damaged(const Subject& subject);

// Imprint returns the hashed message of a TSTInfo in DER, for peers that stop at the octets of the content.
// Nothing when the octets have another shape.
[[nodiscard]] std::optional<Octets> ImprintOf(std::span<const uint8_t> info);

}  // namespace qex::bench
