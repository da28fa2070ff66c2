//! What the generated records have in common: the values of fields.

use crate::error::Error;
use qex_sys::QEX_U64;

pub(crate) fn number(value: QEX_U64) -> u64 {
    u64::from(value.high) << 32 | u64::from(value.low)
}

pub(crate) fn u64_of(value: u64) -> QEX_U64 {
    QEX_U64 { high: (value >> 32) as u32, low: value as u32 }
}

/// A field up to its terminator; octets that are no UTF-8 become U+FFFD.
pub(crate) fn text(field: &[u8]) -> String {
    let end = field.iter().position(|&octet| octet == 0).unwrap_or(field.len());
    String::from_utf8_lossy(&field[..end]).into_owned()
}

/// What a field holds of a value of that length.
pub(crate) fn octets(field: &[u8], length: i64) -> Vec<u8> {
    let held = usize::try_from(length.max(0)).unwrap_or(usize::MAX).min(field.len());
    field[..held].to_vec()
}

pub(crate) fn put_text(name: &str, field: &mut [u8], value: &str) -> Result<(), Error> {
    if value.len() >= field.len() || value.contains('\0') {
        let room = field.len() - 1;
        return Err(Error::Argument(format!("{name}: at most {room} octets, and no NUL, fit into this field")));
    }
    field[..value.len()].copy_from_slice(value.as_bytes());
    Ok(())
}

pub(crate) fn put_octets(name: &str, field: &mut [u8], value: &[u8]) -> Result<u32, Error> {
    if value.len() > field.len() {
        let (room, given) = (field.len(), value.len());
        return Err(Error::Argument(format!("{name}: at most {room} octets fit into this field, not {given}")));
    }
    field[..value.len()].copy_from_slice(value);
    Ok(value.len() as u32) // fields are far shorter than 2^32
}
