//! What can go wrong in a call of the library.

use crate::interface::{Code, Record};
use qex_sys::LoadError;
use std::error;
use std::fmt;

/// The failure of a call.
#[derive(Clone, Debug, PartialEq)]
#[non_exhaustive]
pub enum Error {
    /// The library is missing or does not fit. The text says what to do.
    Library(String),
    /// A value cannot be given to the library.
    Argument(String),
    /// The library returned a result code other than [`Code::Ok`].
    Result(ResultError),
}

/// What a function of the library says about its failure.
#[derive(Clone, Debug, PartialEq)]
#[non_exhaustive]
pub struct ResultError {
    /// The result code.
    pub code: Code,
    /// The function's name in C.
    pub function: &'static str,
    /// The last ASN.1 error of the process; with other threads in the library it may be theirs.
    pub asn1_error: i32,
    /// [`Code::Size`] of a function that fills a record: the record, as far as it is filled.
    pub record: Option<Box<Record>>,
    /// [`Code::Length`] of `unpack_tsr`: the length of the whole reply.
    pub announced: Option<u32>,
    /// [`Code::Framing`] of `unpack_tsr`: flag or HTTP status.
    pub transport_status: Option<u32>,
}

impl Error {
    /// The result code, if it is one.
    #[must_use]
    pub fn code(&self) -> Option<Code> {
        match self {
            Self::Result(error) => Some(error.code),
            _ => None,
        }
    }
}

impl fmt::Display for Error {
    fn fmt(&self, f: &mut fmt::Formatter<'_>) -> fmt::Result {
        match self {
            Self::Library(text) | Self::Argument(text) => f.write_str(text),
            Self::Result(error) => {
                let code = error.code;
                write!(f, "{}: {} ({}, code {}", error.function, code.text(), code.name(), code as i32)?;
                if error.asn1_error != 0 {
                    write!(f, ", ASN.1 error {}", error.asn1_error)?;
                }
                f.write_str(")")
            }
        }
    }
}

impl error::Error for Error {}

impl From<LoadError> for Error {
    fn from(error: LoadError) -> Self {
        Self::Library(error.to_string())
    }
}
