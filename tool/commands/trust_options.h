// The trust options of verify and stamp: whom the caller trusts.
#pragma once

#include <string>
#include <vector>

#include "tool/message/trust.h"

namespace CLI {
class App;
}

namespace qex::tool {

struct TrustOptions {
  std::vector<std::string> tsaCerts;
  std::string fingerprint;
  std::vector<std::string> caFiles;
  std::vector<std::string> caPaths;
  bool systemCa = false;
  std::vector<std::string> untrusted;
  std::vector<std::string> crls;
  std::string at = "gentime";
  bool anySigner = false;
};

void AddTrustOptions(CLI::App& app, TrustOptions& options);

// ReadTrust reads the files that the options name and removes their armour; throws a Failure.
// Worker::CheckTrust decodes the contents.
Trust ReadTrust(const TrustOptions& options);

}  // namespace qex::tool
