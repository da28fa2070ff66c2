//! The library's digests.

use crate::error::Error;
use qex_sys::Context;
pub use qex_sys::Algorithm;
use std::fmt;
use std::io;

/// A digest of the data given so far. It is also a writer, for `std::io::copy`.
pub struct Digest(Context);

impl Digest {
    /// Begins a digest.
    pub fn new(algorithm: Algorithm) -> Result<Self, Error> {
        Ok(Self(Context::new(algorithm)?))
    }

    /// Appends data.
    pub fn update(&mut self, data: &[u8]) {
        self.0.update(data);
    }

    /// The digest of all data. A digest that is dropped without it leaks nothing.
    #[must_use]
    pub fn finalize(self) -> Vec<u8> {
        self.0.finalize()
    }
}

impl io::Write for Digest {
    fn write(&mut self, data: &[u8]) -> io::Result<usize> {
        self.update(data);
        Ok(data.len())
    }

    fn flush(&mut self) -> io::Result<()> {
        Ok(())
    }
}

impl fmt::Debug for Digest {
    fn fmt(&self, f: &mut fmt::Formatter<'_>) -> fmt::Result {
        write!(f, "Digest({:?})", self.0.algorithm())
    }
}
