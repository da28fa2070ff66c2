// Manifests: a list of digests, in the format of sha256sum, whose one token covers every file in it. Names
// are relative to the folder of the list, so that both can move together.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "tool/base/hash.h"
#include "tool/base/options.h"
#include "tool/commands/subjects.h"
#include "tool/commands/verify_one.h"

namespace qex::tool {

// ManifestHash returns the algorithm of that name for a list; throws a usage failure for one that sha256sum
// and its relatives have no list for.
const HashAlgorithm& ManifestHash(const std::string& name);

// MakeManifest digests the files, at most `jobs` at once, and returns the text of the list for the path
// `list`. It leaves out the list and its stamp, and lists a file that is named twice once. Throws a Failure
// for the first file that cannot be read.
std::string MakeManifest(const std::string& list, const std::vector<Subject>& files,
                         const HashAlgorithm& hash, size_t jobs, const Options& options);

// VerifyManifest verifies the token of the list, then every file that it names; files below `folders` that it
// does not name are reported. It writes a line for each and a summary, and returns the worst exit status.
[[nodiscard]] ExitStatus VerifyManifest(const std::string& list, const std::vector<std::string>& folders,
                                        size_t jobs, const VerifyArguments& common, const Trust& trust,
                                        const Options& options);

}  // namespace qex::tool
