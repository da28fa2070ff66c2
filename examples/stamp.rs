//! The whole job in Rust: digests a file, sends a request over a socket, unpacks the reply, reads its status, checks and
//! reads the token. Writes FILE.tsr and FILE.tsq, which `qex verify FILE` finds.
//!
//! usage: stamp FILE HOST:PORT ROOTS     ROOTS: the certificates that you trust as roots, in PEM

use qex::lib::{self, Algorithm, Digest, Transport, TsqDataEx};
use qex::{Job, Message, Trust};
use std::error::Error;
use std::fs::{self, File};
use std::io::{self, Read, Write};
use std::net::TcpStream;
use std::time::Duration;

fn digest_of(name: &str) -> Result<Vec<u8>, Box<dyn Error>> {
    let mut digest = Digest::new(Algorithm::Sha256)?;
    io::copy(&mut File::open(name)?, &mut digest)?;
    Ok(digest.finalize())
}

fn request_for(digest: Vec<u8>) -> Result<Vec<u8>, Box<dyn Error>> {
    let mut nonce = vec![0; 8];
    File::open("/dev/urandom")?.read_exact(&mut nonce)?;
    nonce[0] = nonce[0] & 0x3f | 0x40; // a positive number of eight octets
    let hash_algorithm = "2.16.840.1.101.3.4.2.1".into();
    let request = TsqDataEx { hash_algorithm, hashed_message: digest, nonce, cert_req: 1, ..TsqDataEx::default() };
    Ok(lib::encode_tsq_ex(&request, Transport::Socket)?)
}

fn send(request: &[u8], address: &str) -> Result<Vec<u8>, Box<dyn Error>> {
    let mut connection = TcpStream::connect(address)?;
    connection.set_read_timeout(Some(Duration::from_secs(30)))?;
    connection.write_all(request)?;
    let mut head = [0; 4]; // the length of the rest; the authority may leave the connection open
    connection.read_exact(&mut head)?;
    let mut reply = head.to_vec();
    connection.take(u32::from_be_bytes(head).min(1 << 20).into()).read_to_end(&mut reply)?;
    Ok(lib::unpack_tsr(&reply, Transport::Socket)?.0)
}

fn stamp(name: &str, address: &str, roots: &str) -> Result<(), Box<dyn Error>> {
    let framed = request_for(digest_of(name)?)?;
    let (request, reply) = (framed[5..].to_vec(), send(&framed, address)?); // without the head of the socket framing
    let status = lib::get_tsr_status(&reply)?;
    if !matches!(status.status, 0 | 1) {
        return Err(format!("the authority refused: {} (status {})", status.status_text, status.status).into());
    }

    // The library's own verification is narrow; check() answers whether the token is to be believed.
    let trust = Trust { ca_file: vec![roots.into()], ..Trust::default() };
    let (token, sent) = (Some(Message::Octets(reply.clone())), Some(Message::Octets(request.clone())));
    let answer = qex::check(&trust, &Job { token, file: Some(name.into()), request: sent, ..Job::default() })?;
    if !answer.passed() {
        return Err(format!("{}\nstamp: {}", answer.error.unwrap_or_default(), answer.hint.unwrap_or_default()).into());
    }

    let info = lib::get_tst_tstinfo_ex(&lib::get_tsr_encoded_token(&reply)?)?;
    let serial: String = info.serial_number.iter().map(|octet| format!("{octet:02X}")).collect();
    println!("stamped at {} under policy {}, serial number 0x{serial}", info.gen_time, info.policy);
    fs::write(format!("{name}.tsr"), reply)?;
    fs::write(format!("{name}.tsq"), request)?;
    Ok(())
}

fn main() {
    let arguments: Vec<String> = std::env::args().collect();
    let result = match &arguments[..] {
        [_, name, address, roots] => stamp(name, address, roots),
        _ => Err("usage: stamp FILE HOST:PORT ROOTS".into()),
    };
    if let Err(error) = result {
        eprintln!("stamp: {error}");
        std::process::exit(1);
    }
}
