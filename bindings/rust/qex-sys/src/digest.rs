//! The contexts of digests, which the library owns between Init and Final.

use crate::interface::{Functions, QEX_MD5_CTX, QEX_SHA1_CTX, QEX_SHA256_CTX, QEX_SHA512_CTX};
use crate::load::{library, LoadError};

/// A digest of the library.
#[derive(Clone, Copy, Debug, Eq, Hash, PartialEq)]
pub enum Algorithm {
    /// Collisions are known; use it only to check old stamps.
    Md5,
    /// Collisions are known; use it only to check old stamps.
    Sha1,
    /// SHA-256.
    Sha256,
    /// SHA-384.
    Sha384,
    /// SHA-512.
    Sha512,
}

impl Algorithm {
    /// The length of the digest.
    #[must_use]
    pub const fn size(self) -> usize {
        match self {
            Self::Md5 => 16,
            Self::Sha1 => 20,
            Self::Sha256 => 32,
            Self::Sha384 => 48,
            Self::Sha512 => 64,
        }
    }
}

#[derive(Clone, Copy)]
enum Held {
    Md5(*mut QEX_MD5_CTX),
    Sha1(*mut QEX_SHA1_CTX),
    Sha256(*mut QEX_SHA256_CTX),
    Sha384(*mut QEX_SHA512_CTX),
    Sha512(*mut QEX_SHA512_CTX),
}

/// A context of a digest, released when it is dropped.
pub struct Context {
    functions: &'static Functions,
    algorithm: Algorithm,
    held: Held,
}

// SAFETY: contexts are independent, and the library ties none of them to a thread.
unsafe impl Send for Context {}
// SAFETY: what touches the context takes it by &mut or by value; a shared reference shows the algorithm alone.
unsafe impl Sync for Context {}

impl Context {
    /// Begins a digest.
    ///
    /// # Errors
    /// [`LoadError`], when the library is missing or does not fit.
    pub fn new(algorithm: Algorithm) -> Result<Self, LoadError> {
        let f = library()?;
        // SAFETY: Init takes nothing and returns a context of its own.
        let held = unsafe {
            match algorithm {
                Algorithm::Md5 => Held::Md5((f.QEX_MD5_Init)()),
                Algorithm::Sha1 => Held::Sha1((f.QEX_SHA1_Init)()),
                Algorithm::Sha256 => Held::Sha256((f.QEX_SHA256_Init)()),
                Algorithm::Sha384 => Held::Sha384((f.QEX_SHA384_Init)()),
                Algorithm::Sha512 => Held::Sha512((f.QEX_SHA512_Init)()),
            }
        };
        Ok(Self { functions: f, algorithm, held })
    }

    /// Which digest it is of.
    #[must_use]
    pub fn algorithm(&self) -> Algorithm {
        self.algorithm
    }

    /// Appends data.
    pub fn update(&mut self, data: &[u8]) {
        let f = self.functions;
        for piece in data.chunks(1 << 30) {
            // A length has 32 bits.
            let (from, length) = (piece.as_ptr(), piece.len() as u32);
            // SAFETY: the context is one of Init that Final has not seen; the piece has that length.
            unsafe {
                match self.held {
                    Held::Md5(context) => (f.QEX_MD5_Update)(context, from, length),
                    Held::Sha1(context) => (f.QEX_SHA1_Update)(context, from, length),
                    Held::Sha256(context) => (f.QEX_SHA256_Update)(context, from, length),
                    Held::Sha384(context) => (f.QEX_SHA384_Update)(context, from, length),
                    Held::Sha512(context) => (f.QEX_SHA512_Update)(context, from, length),
                }
            }
        }
    }

    /// The digest of all data.
    #[must_use]
    pub fn finalize(self) -> Vec<u8> {
        let digest = self.release();
        std::mem::forget(self); // Drop would release it again
        digest
    }

    /// Takes the digest, the only way to release a context. Nothing may use it afterwards.
    fn release(&self) -> Vec<u8> {
        let f = self.functions;
        let mut digest = vec![0; self.algorithm.size()];
        let out = digest.as_mut_ptr();
        // SAFETY: the context is one of Init that Final has not seen, as both callers end its life; `out` has room for
        // the digest of this algorithm.
        unsafe {
            match self.held {
                Held::Md5(context) => (f.QEX_MD5_Final)(context, out),
                Held::Sha1(context) => (f.QEX_SHA1_Final)(context, out),
                Held::Sha256(context) => (f.QEX_SHA256_Final)(context, out),
                Held::Sha384(context) => (f.QEX_SHA384_Final)(context, out),
                Held::Sha512(context) => (f.QEX_SHA512_Final)(context, out),
            }
        }
        digest
    }
}

impl Drop for Context {
    fn drop(&mut self) {
        self.release();
    }
}
