//! Time-stamps by RFC 3161 with libqex, in two layers.
//!
//! [`check`] and [`Checker`] give the whole answer about a token: signature by two readers, chain, dates, key usage,
//! revocation, imprint, nonce and policy, by one program `qex verify --jobs -` that is kept open. Take them to decide
//! whether to believe a token: the library's own verification is narrow, and foreign octets stay out of this process.
//!
//! ```no_run
//! use qex::{check, Job, Message, Trust};
//!
//! let trust = Trust { ca_file: vec!["roots.pem".into()], ..Trust::default() };
//! let job = Job { token: Some(Message::File("report.pdf.tsr".into())), file: Some("report.pdf".into()), ..Job::default() };
//! let answer = check(&trust, &job)?;
//! if answer.passed() {
//!     println!("stamped at {}", answer.time.unwrap_or_default());
//! }
//! # Ok::<(), qex::ToolError>(())
//! ```
//!
//! [`lib`] is the C interface of the library. Take it to make requests, take replies apart and read tokens; it starts no
//! program.
//!
//! The library is the file that `QEX_LIBRARY` names, else `libqex.so.1` by the system's loader; the program is the file
//! that `QEX_TOOL` names, else the `qex` of `PATH`. What is missing is an error with the next step.
#![forbid(unsafe_code)]
#![warn(missing_docs)]

mod answer;
mod calls;
mod checker;
#[cfg(test)]
mod checker_tests;
mod digest;
mod error;
mod interface;
mod job;
mod json;
mod program;
mod record;
mod trust;

pub use answer::{Answer, Check};
pub use checker::{check, Answers, Checker};
pub use job::{Job, Message};
pub use json::Json;
pub use program::ToolError;
pub use trust::Trust;

/// The C interface of libqex as it is: one function for each function there, octets in and octets or a record out.
///
/// Names are those of C in lower case without `QEX_`; `qex.h` says what each function does and which codes it returns. A
/// result code other than [`Code::Ok`](lib::Code::Ok) is an [`Error`](lib::Error).
///
/// The library's verification is narrow: [`verify_tst_signature`](lib::verify_tst_signature) checks neither dates nor
/// chain, revocation and key usage. To decide whether a token is to be believed, use [`check`].
///
/// All functions may be called by several threads at once.
pub mod lib {
    pub use crate::calls::*;
    pub use crate::digest::{Algorithm, Digest};
    pub use crate::error::{Error, ResultError};
    pub use crate::interface::*;
}
