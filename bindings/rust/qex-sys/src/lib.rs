//! The C interface of libqex as it is, under its own names; the crate `qex` is made for use.
//!
//! The library is loaded at the first use, so that building needs neither it nor its header, and a missing or older one is
//! an error with a next step. All unsafe code is here. What takes and fills octets and records is safe; the contexts of
//! digests are behind [`Context`].
#![warn(missing_docs)]
#![deny(unsafe_op_in_unsafe_fn)]

mod digest;
mod interface;
mod load;

pub use digest::{Algorithm, Context};
pub use interface::*;
pub use load::{library, LoadError};

#[cfg(test)]
mod tests {
    /// The records have the layout that the C compiler gives those of qex.h, whose table the tests' runner makes.
    #[test]
    fn records_have_the_layout_of_the_header() {
        let table = match std::env::var_os("QEX_TEST_LAYOUT") {
            Some(name) => std::fs::read_to_string(name).expect("the table of QEX_TEST_LAYOUT"),
            None => return eprintln!("skipped: QEX_TEST_LAYOUT names no table; tests/bindings makes it"),
        };
        assert_eq!(crate::interface::layout(), table.lines().collect::<Vec<_>>());
    }
}
