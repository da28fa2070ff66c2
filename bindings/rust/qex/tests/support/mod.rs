//! The samples of tests/data, and what their makers say about them.
#![allow(dead_code)] // each test uses a part

use std::collections::HashMap;
use std::path::PathBuf;
use std::sync::Once;

pub const SHA256: &str = "2.16.840.1.101.3.4.2.1";

pub fn path(name: &str) -> PathBuf {
    PathBuf::from(env!("CARGO_MANIFEST_DIR")).join("../../../tests/data").join(name)
}

pub fn file(name: &str) -> Vec<u8> {
    std::fs::read(path(name)).unwrap_or_else(|error| panic!("{name}: {error}"))
}

pub fn hex(octets: &[u8]) -> String {
    octets.iter().map(|octet| format!("{octet:02x}")).collect()
}

pub fn unhex(text: &str) -> Vec<u8> {
    (0..text.len() / 2).map(|i| u8::from_str_radix(&text[2 * i..2 * i + 2], 16).expect("hexadecimal")).collect()
}

/// Has the library use version 2 of the signing-certificate attribute. It reads the switch once.
pub fn use_version_2() {
    static ONCE: Once = Once::new();
    ONCE.call_once(|| std::env::set_var("QEX_VERIFY_ESSCERTIDV2", "1"));
}

/// The facts about Bouncy Castle's samples of a kind, as their maker wrote them.
pub fn records(kind: &str, count: usize) -> Vec<HashMap<String, String>> {
    let text = String::from_utf8(file("bouncycastle/samples.txt")).expect("UTF-8");
    let mut found: Vec<HashMap<_, _>> = text
        .split("\n\n")
        .map(|block| {
            let rows = block.lines().filter(|line| !line.starts_with('#')).filter_map(|line| line.split_once(" = "));
            rows.map(|(name, value)| (name.to_string(), value.to_string())).collect()
        })
        .collect();
    found.retain(|record| record.get("Kind").map(String::as_str) == Some(kind));
    assert_eq!(found.len(), count);
    found
}
