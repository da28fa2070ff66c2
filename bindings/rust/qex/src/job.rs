//! What is asked of the program.

use crate::answer::Answer;
use crate::json::quoted;
use std::env;
use std::fmt::Write;
use std::path::{Path, PathBuf};

/// A reply, token or request: its octets (DER or PEM), or the file that holds it.
#[derive(Clone, Debug, Eq, PartialEq)]
pub enum Message {
    /// DER or PEM.
    Octets(Vec<u8>),
    /// A file with any of the forms that `qex` reads.
    File(PathBuf),
}

/// A token and what it is compared with.
///
/// Without `token`, the file's own name with .tsr appended is used; what lies beside a token or file by the habits of
/// `qex verify` is found here too.
#[derive(Clone, Debug, Default, Eq, PartialEq)]
pub struct Job {
    /// A reply or token.
    pub token: Option<Message>,
    /// The stamped file.
    pub file: Option<PathBuf>,
    /// In its place, as `ALG:HEX`.
    pub digest: Option<String>,
    /// The request that was sent.
    pub request: Option<Message>,
    /// The nonce that was sent, in hexadecimal.
    pub nonce: Option<String>,
    /// The policy that is wanted.
    pub policy: Option<String>,
}

const MOST: usize = 16 << 20; // octets of a message; a job takes 32 MiB, in base64

impl Job {
    /// The job as the program takes it, or the answer to a job that cannot be said.
    pub(crate) fn line(&self, number: i64) -> Result<Vec<u8>, Box<Answer>> {
        let mut line = format!("{{\"id\":{number}");
        let mut say = |name: &str, value: &str| {
            write!(line, ",\"{name}\":{}", quoted(value)).expect("a String takes everything");
        };
        for (name, value) in [("digest", &self.digest), ("nonce", &self.nonce), ("policy", &self.policy)] {
            if let Some(value) = value {
                say(name, value);
            }
        }
        for (name, value) in [("token", &self.token), ("request", &self.request)] {
            match value {
                Some(Message::Octets(octets)) => say(name, &message(name, octets)?),
                Some(Message::File(path)) => say(name, &absolute(path)?),
                None => {}
            }
        }
        if let Some(path) = &self.file {
            say("file", &absolute(path)?);
        }
        line.push_str("}\n");
        Ok(line.into_bytes())
    }
}

/// An absolute path: the program keeps the folder that it was started in, and no such path reads as base64.
fn absolute(path: &Path) -> Result<String, Box<Answer>> {
    let refuse = |why: &str, hint: &str| Box::new(Answer::refusal(3, &format!("{}: {why}", path.display()), hint));
    let here = env::current_dir().map_err(|error| refuse(&error.to_string(), "give an absolute path"))?;
    match here.join(path).to_str() {
        Some(text) if !text.contains('\0') => Ok(text.to_string()),
        _ => Err(refuse(
            "the name is no UTF-8 or holds a NUL, so the program cannot be told it",
            "rename the file, or give octets or a digest in its place",
        )),
    }
}

/// Octets as a text that the program can only read as a message. Anything else would be read as a path.
fn message(name: &str, octets: &[u8]) -> Result<String, Box<Answer>> {
    if octets.len() > MOST {
        let error = format!("{name}: {} octets, where at most {MOST} are read", octets.len());
        return Err(Box::new(Answer::refusal(4, &error, "is it the stamped file itself?")));
    }
    if octets.first() == Some(&0x30) {
        return Ok(format!("\n{}", base64(octets)));
    }
    match std::str::from_utf8(octets) {
        Ok(text) if is_pem(text) => Ok(text.to_string()),
        _ => Err(Box::new(Answer::refusal(
            4,
            &format!("{name}: these octets are no message in DER or PEM"),
            "give a path as Message::File; take the framing off a reply with lib::unpack_tsr",
        ))),
    }
}

/// Whether there is a block of PEM whose first octet is 0x30, the tag of every message.
fn is_pem(text: &str) -> bool {
    let body = text.split_once("-----BEGIN ").and_then(|(_, rest)| rest.split_once("-----")).map(|(_, body)| body.trim_start());
    let mut first = body.unwrap_or("").bytes();
    first.next() == Some(b'M') && matches!(first.next(), Some(b'A'..=b'P')) && text.contains("-----END ")
}

fn base64(octets: &[u8]) -> String {
    const DIGITS: &[u8; 64] = b"ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    let mut out = String::with_capacity(octets.len() / 3 * 4 + 4);
    for group in octets.chunks(3) {
        let octet = |i: usize| u32::from(*group.get(i).unwrap_or(&0));
        let bits = octet(0) << 16 | octet(1) << 8 | octet(2);
        for i in 0..4 {
            out.push(if i > group.len() { '=' } else { char::from(DIGITS[(bits >> (18 - 6 * i) & 63) as usize]) });
        }
    }
    out
}

#[cfg(test)]
mod tests {
    use super::*;

    #[test]
    fn base64_is_that_of_the_standard() {
        // RFC 4648, 10.
        for (octets, text) in
            [("", ""), ("f", "Zg=="), ("fo", "Zm8="), ("foo", "Zm9v"), ("foob", "Zm9vYg=="), ("fooba", "Zm9vYmE="), ("foobar", "Zm9vYmFy")]
        {
            assert_eq!(base64(octets.as_bytes()), text);
        }
        assert_eq!(base64(&[0xfb, 0xff]), "+/8=");
    }

    #[test]
    fn only_messages_are_said_as_messages() {
        for octets in [&b""[..], b"/etc/passwd", b"\x31\x00", b"-----BEGIN X-----\nAAAA\n-----END X-----\n", b"-----BEGIN X"] {
            assert_eq!(message("token", octets).map_err(|answer| answer.exit), Err(4));
        }
        assert_eq!(message("token", &vec![0x30; MOST + 1]).map_err(|answer| answer.exit), Err(4));
        assert_eq!(message("token", b"\x30\x00").as_deref(), Ok("\nMAA="));
    }
}
