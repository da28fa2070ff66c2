// Reads certificates and revocation lists from files and folders.
#include "tool/commands/trust_options.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <span>
#include <system_error>

#include <CLI/CLI.hpp>

#include "tool/base/failure.h"
#include "tool/base/files.h"
#include "tool/message/gen_time.h"
#include "tool/message/message.h"

namespace qex::tool {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view kCertificateLabels[] = {"CERTIFICATE", "X509 CERTIFICATE", "TRUSTED CERTIFICATE"};
constexpr std::string_view kListLabels[] = {"X509 CRL", "CRL"};

void add_items(std::vector<TrustItem>& items, const std::string& source, std::vector<Bytes> found) {
  for (Bytes& der : found) {
    const bool known = std::ranges::any_of(items, [&der](const TrustItem& item) { return item.der == der; });
    if (!known) items.push_back({source, std::move(der)});
  }
}

// The octets of PEM blocks, each of which must hold some.
std::vector<Bytes> whole_blocks(const std::string& path, ByteView data,
                                std::span<const std::string_view> labels) {
  std::vector<Bytes> found = PemBlocks(data, labels);
  const auto broken = std::ranges::find(found, Bytes{});
  if (broken == found.end()) return found;
  throw Failure{ExitStatus::Input,
                ShownPath(path) + ": PEM block " + std::to_string(broken - found.begin() + 1) +
                    " is no base64, or has no end",
                "the file was damaged or cut off; fetch it again"};
}

// The certificates of a file: those of its PEM blocks, or one as DER or bare base64.
std::vector<Bytes> read_certificates(const std::string& path) {
  const std::string name = ShownPath(path);
  Bytes data = ReadMessage(path);
  if (HoldsPem(data)) {
    std::vector<Bytes> found = whole_blocks(path, data, kCertificateLabels);
    if (!found.empty()) return found;
  }
  Message message = ParseMessage(path, std::move(data));
  if (message.octets.empty()) {
    throw Failure{ExitStatus::Input, name + ": is empty, where a certificate is needed",
                  "the file was cut off, or never written; fetch it again"};
  }
  if (message.kind == inspect::Kind::Certificate) return {std::move(message.octets)};
  const bool known = message.kind != inspect::Kind::Unknown;
  throw Failure{ExitStatus::Input,
                name + (known ? std::string(": is a ") + inspect::KindName(message.kind) +
                                    ", where a certificate is needed"
                              : std::string(": holds no certificate")),
                "name a file of certificates, as PEM or DER"};
}

std::vector<Bytes> read_lists(const std::string& path) {
  Bytes data = ReadRevocationFile(path);
  std::vector<Bytes> found = whole_blocks(path, data, kListLabels);
  if (!found.empty()) return found;
  Message message = ParseMessage(path, std::move(data));
  // A list is not a message of a known kind; the worker decides whether it is a list.
  const bool sequence = !message.octets.empty() && message.octets[0] == 0x30;
  if (sequence && message.kind == inspect::Kind::Unknown) return {std::move(message.octets)};
  throw Failure{ExitStatus::Input, ShownPath(path) + ": is no list of revoked certificates",
                "name a list (CRL), as PEM or DER"};
}

// Every certificate in the files of a folder; other files are ignored.
std::vector<Bytes> certificates_in(const std::string& path) {
  std::error_code error;
  std::vector<std::string> names;
  for (fs::directory_iterator entry(path, error), end; !error && entry != end; entry.increment(error)) {
    std::error_code ignored;
    if (entry->is_regular_file(ignored)) names.push_back(entry->path().string());
  }
  if (error) {
    throw Failure{ExitStatus::File, ShownPath(path) + ": cannot be read: " + error.message(),
                  "name a folder of certificates"};
  }
  std::ranges::sort(names);
  std::vector<Bytes> found;
  for (const std::string& name : names) {
    try {
      for (Bytes& der : read_certificates(name)) found.push_back(std::move(der));
    } catch (const Failure& failure) {
      if (failure.exit != ExitStatus::Input) throw;
    }
  }
  return found;
}

std::vector<Bytes> read_folder(const std::string& path) {
  std::vector<Bytes> found = certificates_in(path);
  if (!found.empty()) return found;
  throw Failure{ExitStatus::Input, ShownPath(path) + ": no file of this folder holds a certificate",
                "name a folder of root certificates"};
}

// Where the system keeps its roots, as OpenSSL's own variables or Debian's and others' habit have it.
void read_system_roots(Trust& trust) {
  const char* file = std::getenv("SSL_CERT_FILE");
  const char* folder = std::getenv("SSL_CERT_DIR");
  if (file != nullptr && FileExists(file)) add_items(trust.systemRoots, file, read_certificates(file));
  if (folder != nullptr && IsDirectory(folder)) add_items(trust.systemRoots, folder, certificates_in(folder));
  if (!trust.systemRoots.empty()) return;
  if (file != nullptr || folder != nullptr) {
    throw Failure{ExitStatus::File,
                  "--system-ca: SSL_CERT_FILE and SSL_CERT_DIR name no roots that are there",
                  "correct the variables or unset them, or name the roots with --ca-file"};
  }
  for (const char* place :
       {"/etc/ssl/certs/ca-certificates.crt", "/etc/pki/tls/certs/ca-bundle.crt", "/etc/ssl/cert.pem"}) {
    if (!FileExists(place)) continue;
    add_items(trust.systemRoots, place, read_certificates(place));
    return;
  }
  throw Failure{ExitStatus::File, "--system-ca: the system has no file of root certificates",
                "install the package ca-certificates, or name the roots with --ca-file"};
}

Bytes read_fingerprint(const std::string& text) {
  constexpr std::string_view kPrefix = "sha256:";
  std::string_view digits = text;
  if (digits.starts_with(kPrefix)) digits.remove_prefix(kPrefix.size());
  const std::optional<Bytes> digest = FromHex(digits);
  if (digest && digest->size() == 32 && !digits.starts_with("0x") && !digits.starts_with("0X")) {
    return *digest;
  }
  throw UsageFailure("fingerprint " + text + ": not sha256: and 64 hexadecimal digits",
                     "'qex show CERTIFICATE' prints it");
}

void read_time(Trust& trust, const std::string& text) {
  if (text == "gentime") return;
  if (text == "now") {
    trust.time = TrustTime::Now;
    return;
  }
  const auto seconds = ParseIsoTime(text);
  if (!seconds) {
    throw UsageFailure("--at " + text + ": not gentime, now or a time such as 2026-09-18T10:11:12Z",
                       "the time at which the chain is judged; without --at it is the token's own");
  }
  trust.time = TrustTime::Given;
  trust.givenTime = *seconds;
}

}  // namespace

void AddTrustOptions(CLI::App& app, TrustOptions& options) {
  const auto list = [&app](const char* name, std::vector<std::string>& values, const char* text,
                           const char* type) {
    app.add_option(name, values, text)->type_name(type)->allow_extra_args(false)->group("Whom to trust");
  };
  list("--tsa-cert", options.tsaCerts, "trust the certificates in FILE: one of them signed", "FILE");
  app.add_option("--tsa-fingerprint", options.fingerprint, "trust the certificate of this digest")
      ->type_name("sha256:HEX")
      ->group("Whom to trust");
  list("--ca-file", options.caFiles, "trust a chain to a root in FILE", "FILE");
  list("--ca-path", options.caPaths, "trust a chain to a root in a file of DIR", "DIR");
  app.add_flag("--system-ca", options.systemCa, "trust a chain to a root of the system")
      ->group("Whom to trust");
  list("--untrusted", options.untrusted, "more certificates to build the chain of", "FILE");
  list("--crl", options.crls, "lists of revoked certificates", "FILE");
  app.add_option("--at", options.at, "when the chain must hold: gentime, now or a time in ISO 8601")
      ->type_name("TIME")
      ->group("Whom to trust");
  app.add_flag("--insecure-any-signer", options.anySigner, "trust whoever signed")->group("Whom to trust");
}

Trust ReadTrust(const TrustOptions& options) {
  Trust trust;
  trust.anySigner = options.anySigner;
  trust.chainWanted = !options.caFiles.empty() || !options.caPaths.empty() || options.systemCa;
  if (!options.fingerprint.empty()) trust.fingerprint = read_fingerprint(options.fingerprint);
  read_time(trust, options.at);
  if (!trust.chainWanted && !options.crls.empty()) {
    throw UsageFailure("--crl goes with a chain, and no root is named",
                       "name one with --ca-file, --ca-path or --system-ca");
  }
  for (const std::string& path : options.tsaCerts) {
    add_items(trust.signers, ShownPath(path), read_certificates(path));
  }
  for (const std::string& path : options.caFiles) {
    add_items(trust.roots, ShownPath(path), read_certificates(path));
  }
  for (const std::string& path : options.caPaths) add_items(trust.roots, ShownPath(path), read_folder(path));
  if (options.systemCa) read_system_roots(trust);
  for (const std::string& path : options.untrusted) {
    add_items(trust.untrusted, ShownPath(path), read_certificates(path));
  }
  for (const std::string& path : options.crls) add_items(trust.crls, ShownPath(path), read_lists(path));
  return trust;
}

}  // namespace qex::tool
