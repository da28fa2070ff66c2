//! Whom to trust.

use std::env;
use std::ffi::OsString;
use std::io;
use std::path::PathBuf;

/// Whom to trust, as the options of `qex verify` of the same names say it. One of the first six is needed. Files are read
/// when the program starts: to have a changed file read, make another `Checker`.
#[derive(Clone, Debug, Default, Eq, Hash, PartialEq)]
pub struct Trust {
    /// The certificates in these files: one of them signed.
    pub tsa_cert: Vec<PathBuf>,
    /// The certificate of this digest: `sha256:HEX`.
    pub tsa_fingerprint: Option<String>,
    /// A chain to a root in these files.
    pub ca_file: Vec<PathBuf>,
    /// A chain to a root in a file of these folders.
    pub ca_path: Vec<PathBuf>,
    /// A chain to a root of the system.
    pub system_ca: bool,
    /// Whoever signed.
    pub insecure_any_signer: bool,
    /// More certificates to build the chain of.
    pub untrusted: Vec<PathBuf>,
    /// Lists of revoked certificates.
    pub crl: Vec<PathBuf>,
    /// When the chain must hold: gentime (as without it), now or a time in ISO 8601.
    pub at: Option<String>,
    /// Signing-certificate attribute: auto (as without it), v1 or v2.
    pub ess: Option<String>,
    /// Leave the strict reader out.
    pub library_only: bool,
    /// Accept SHA-1, MD5 and keys below 2048 bits.
    pub allow_weak: bool,
    /// Accept RSA keys with an exponent below 65537.
    pub allow_low_exponent: bool,
}

impl Trust {
    /// Whether anybody is trusted.
    pub(crate) fn names_somebody(&self) -> bool {
        !(self.tsa_cert.is_empty() && self.ca_file.is_empty() && self.ca_path.is_empty())
            || self.tsa_fingerprint.is_some()
            || self.system_ca
            || self.insecure_any_signer
    }

    /// The command line that says this.
    pub(crate) fn options(&self) -> io::Result<Vec<OsString>> {
        let here = env::current_dir()?;
        let mut options = Vec::new();
        let mut say = |option: &str, value: OsString| {
            let mut said = OsString::from(format!("--{option}="));
            said.push(value);
            options.push(said);
        };
        for (option, paths) in [
            ("tsa-cert", &self.tsa_cert),
            ("ca-file", &self.ca_file),
            ("ca-path", &self.ca_path),
            ("untrusted", &self.untrusted),
            ("crl", &self.crl),
        ] {
            for path in paths {
                say(option, here.join(path).into_os_string());
            }
        }
        for (option, text) in [("tsa-fingerprint", &self.tsa_fingerprint), ("at", &self.at), ("ess", &self.ess)] {
            if let Some(text) = text {
                say(option, text.into());
            }
        }
        for (option, given) in [
            ("system-ca", self.system_ca),
            ("insecure-any-signer", self.insecure_any_signer),
            ("library-only", self.library_only),
            ("allow-weak", self.allow_weak),
            ("allow-low-exponent", self.allow_low_exponent),
        ] {
            if given {
                options.push(format!("--{option}").into());
            }
        }
        Ok(options)
    }
}
