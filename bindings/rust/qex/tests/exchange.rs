//! Requests, replies and digests, through the C interface.

mod support;

use qex::lib::{self, Algorithm, Code, Digest, Error, Record, Transport, TsqData, TsqDataEx};
use support::{file, hex, unhex, SHA256};

const IMPRINT: &str = "00112233445566778899aabbccddeeff00112233445566778899aabbccddeeff";

fn request() -> TsqDataEx {
    TsqDataEx {
        hash_algorithm: SHA256.into(),
        hashed_message: unhex(IMPRINT),
        nonce: vec![7],
        cert_req: 1,
        ..TsqDataEx::default()
    }
}

fn code<T>(result: Result<T, Error>) -> Code {
    match result {
        Ok(_) => Code::Ok,
        Err(error) => error.code().unwrap_or_else(|| panic!("{error}")),
    }
}

#[test]
fn request_is_that_of_the_standard() {
    // RFC 3161, 2.4.1 in DER: version 1, SHA-256 of the imprint without parameters, nonce 7, certReq.
    let der = unhex(&format!("303a020101302f300b06096086480165030402010420{IMPRINT}0201070101ff"));
    for (transport, length) in [(Transport::Raw, 0), (Transport::Socket, 5), (Transport::Http, 117)] {
        let out = lib::encode_tsq_ex(&request(), transport).expect("a request");
        assert_eq!(&out[length..], der, "{transport:?}");
        match transport {
            Transport::Socket => assert_eq!(out[..5], [0, 0, 0, 61, 0]), // 60 octets of DER, and the flag
            Transport::Http => assert!(out.starts_with(b"POST ")),
            _ => {}
        }
        let short = TsqData {
            hash_algorithm: SHA256.into(),
            hashed_message: unhex(IMPRINT),
            nonce: 7,
            cert_req: 1,
            ..TsqData::default()
        };
        assert_eq!(lib::encode_tsq(&short, transport).as_ref(), Ok(&out));
        let read = lib::decode_tsq_ex(&out).expect("a request");
        assert!(read.cert_req != 0);
        let cert_req = read.cert_req;
        assert_eq!(read, TsqDataEx { hashed_message_length: 32, nonce_length: 1, cert_req, ..request() });
    }
    assert_eq!(code(lib::encode_tsq_ex(&request(), Transport::Reserved)), Code::Unsupported);
}

#[test]
fn long_nonce_of_the_short_record_is_reported_with_the_record() {
    let long = TsqDataEx { nonce: vec![1; 40], ..request() };
    let out = lib::encode_tsq_ex(&long, Transport::Raw).expect("a request");
    match lib::decode_tsq(&out) {
        Err(Error::Result(error)) if error.code == Code::Size => match error.record.as_deref() {
            Some(Record::TsqData(read)) => assert_eq!(hex(&read.hashed_message), IMPRINT),
            other => panic!("{other:?}"),
        },
        other => panic!("{other:?}"),
    }
}

#[test]
fn values_that_do_not_fit_are_named() {
    for (wrong, name) in [
        (TsqDataEx { hashed_message: vec![0; 129], ..request() }, "hashed_message"),
        (TsqDataEx { nonce: vec![0; 41], ..request() }, "nonce"),
        (TsqDataEx { hash_algorithm: "1".repeat(128), ..request() }, "hash_algorithm"),
        (TsqDataEx { req_policy: "1.2\0".into(), ..request() }, "req_policy"),
    ] {
        let refused = lib::encode_tsq_ex(&wrong, Transport::Raw);
        assert!(matches!(&refused, Err(Error::Argument(text)) if text.starts_with(name)), "{refused:?}");
    }
}

#[test]
fn messages_of_other_kinds_do_not_decode() {
    for octets in [vec![], vec![0x30], file("samples/certificate_tsa.der")] {
        assert_eq!(code(lib::decode_tsq_ex(&octets)), Code::Decode);
        assert_eq!(code(lib::get_tsr_status(&octets)), Code::Decode);
        assert_eq!(code(lib::get_tsr_encoded_token(&octets)), Code::Decode);
        assert_eq!(code(lib::get_tst_tstinfo_ex(&octets)), Code::Decode);
        assert_eq!(code(lib::verify_tst_signature(&octets, None)), Code::BadToken);
    }
}

#[test]
fn reply_is_unpacked_and_read() {
    let reply = file("samples/reply_sha256_v2_cert.der");
    let mut framed = (reply.len() as u32 + 1).to_be_bytes().to_vec();
    framed.push(5);
    framed.extend(&reply);
    assert_eq!(lib::unpack_tsr(&framed, Transport::Socket), Ok((reply.clone(), 5)));
    let length = reply.len();
    let head = format!("HTTP/1.0 200 OK\r\nContent-Type: application/timestamp-reply\r\nContent-Length: {length}\r\n\r\n");
    let framed = [head.as_bytes(), &reply].concat();
    assert_eq!(lib::unpack_tsr(&framed, Transport::Http), Ok((reply.clone(), 200)));
    assert_eq!(lib::get_tsr_status(&reply).map(|status| status.status), Ok(0));
    // openssl took that token out.
    assert_eq!(lib::get_tsr_encoded_token(&reply), Ok(file("samples/token_sha256_v2_cert.der")));
}

#[test]
fn incomplete_and_refused_frames_say_how_they_go_on() {
    let http = b"HTTP/1.0 404 No\r\nContent-Type: application/timestamp-reply\r\n\r\nx";
    for (frame, transport, expected) in [
        (&[0, 0, 0, 10, 5, 0x30][..], Transport::Socket, (Code::Length, Some(14), None)),
        (&[0, 0, 0, 2, 3, 0x30], Transport::Socket, (Code::Framing, None, Some(3))),
        (http, Transport::Http, (Code::Framing, None, Some(404))),
        (&[], Transport::Socket, (Code::Arg, None, None)),
    ] {
        match lib::unpack_tsr(frame, transport) {
            Err(Error::Result(error)) => assert_eq!((error.code, error.announced, error.transport_status), expected),
            other => panic!("{other:?}"),
        }
    }
}

#[test]
fn rejection_is_read_from_both_makers() {
    for name in ["samples/reply_rejected.der", "bouncycastle/reply_rejected.der"] {
        let status = lib::get_tsr_status(&file(name)).expect("a reply");
        assert!(status.status == 2 && !status.status_text.is_empty(), "{status:?}");
        assert_eq!(code(lib::get_tsr_encoded_token(&file(name))), Code::Rejected);
    }
}

#[test]
fn error_says_function_text_and_code() {
    let error = lib::get_tsr_status(&[0x31, 0]).expect_err("no reply").to_string();
    let expected = "QEX_GetTSR_Status: the input does not decode or lacks the expected structure (QEX_E_DECODE, code -6";
    assert!(error.starts_with(expected), "{error}");
    assert!(lib::get_last_asn_error().is_ok());
}

const ALGORITHMS: [Algorithm; 5] = [Algorithm::Md5, Algorithm::Sha1, Algorithm::Sha256, Algorithm::Sha384, Algorithm::Sha512];

#[test]
fn digests_of_all_lengths_are_those_of_hashlib() {
    let table = String::from_utf8(file("digests_by_length.txt")).expect("UTF-8");
    let mut rows = 0;
    for line in table.lines().filter(|line| !line.starts_with('#')) {
        let columns: Vec<_> = line.split(' ').collect();
        let n: usize = columns[0].parse().expect("a number");
        // The octets (31 i + n) mod 256, as the table's head says.
        let data: Vec<u8> = (0..n).map(|i| (31 * i + n) as u8).collect();
        for (algorithm, expected) in ALGORITHMS.iter().zip(&columns[1..]) {
            let mut digest = Digest::new(*algorithm).expect("the library");
            digest.update(&data[..n / 3]);
            std::io::copy(&mut &data[n / 3..], &mut digest).expect("a digest takes everything");
            let sum = digest.finalize();
            assert_eq!((&hex(&sum)[..16], sum.len()), (*expected, algorithm.size()), "{algorithm:?} of {n}");
        }
        rows += 1;
    }
    assert!(rows > 100);
}

#[test]
fn digests_cross_threads_and_may_be_dropped() {
    let mut digest = Digest::new(Algorithm::Sha256).expect("the library");
    let sum = std::thread::spawn(move || {
        digest.update(b"abc");
        digest.finalize()
    });
    // FIPS 180-4.
    assert_eq!(hex(&sum.join().expect("a digest")), "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
    for _ in 0..1000 {
        drop(Digest::new(Algorithm::Sha512).expect("the library"));
    }
}
