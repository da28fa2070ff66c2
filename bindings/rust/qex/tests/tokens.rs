//! Tokens and attribute certificates of other makers, through the C interface.

mod support;

use qex::lib::{self, Code, Error, Record, TimingMetrics, TimingMetricsEx, TimingPolicy};
use support::{file, hex, records, use_version_2, SHA256};

fn code<T>(result: Result<T, Error>) -> Code {
    match result {
        Ok(_) => Code::Ok,
        Err(error) => error.code().unwrap_or_else(|| panic!("{error}")),
    }
}

fn contains(octets: &[u8], part: &[u8]) -> bool {
    octets.windows(part.len()).any(|window| window == part)
}

#[test]
fn tokens_read_as_their_maker_wrote_them() {
    for sample in records("token", 37) {
        let token = file(&format!("bouncycastle/{}", sample["Name"]));
        if sample["Protection"] == "yes" {
            // An attribute that the library does not know.
            assert_eq!(code(lib::get_tst_tstinfo_ex(&token)), Code::Decode);
            continue;
        }
        let info = lib::get_tst_tstinfo_ex(&token).expect("a token");
        let read = [
            info.policy.as_str(),
            &info.hash_algorithm,
            &hex(&info.hashed_message),
            &hex(&info.serial_number),
            info.gen_time.trim_end_matches('Z'),
            hex(&info.nonce).trim_start_matches("00"),
        ]
        .map(String::from);
        let said = [&sample["Policy"], SHA256, &sample["Imprint"], &sample["Serial"], &sample["Time"], &sample["Nonce"]];
        assert_eq!(read, said.map(String::from), "{}", sample["Name"]);
        assert_eq!((info.version, info.hashed_message_length), (1, 32));

        // The serial number has more than 64 bits: the record comes with the error.
        match lib::get_tst_tstinfo(&token) {
            Err(Error::Result(error)) => match error.record.as_deref() {
                Some(Record::TstInfo(short)) if error.code == Code::Size => assert_eq!(short.gen_time, info.gen_time),
                other => panic!("{other:?}"),
            },
            other => panic!("{other:?}"),
        }
    }
}

#[test]
fn signatures_verify_as_their_records_say() {
    use_version_2();
    for sample in records("token", 37) {
        let token = file(&format!("bouncycastle/{}", sample["Name"]));
        let certificate = file(&format!("bouncycastle/certificate_{}.der", sample["Key"]));
        let usable = sample["Version"] == "2";
        // With DSA, only the first 20 octets of the digest count.
        let cut = sample["Key"].starts_with("dsa2048") && sample["Digest"].eq_ignore_ascii_case("sha256");
        let (with, without) = match (sample["Protection"].as_str(), usable && sample["Certificate"] == "yes") {
            ("yes", _) => (Code::BadToken, Code::BadToken),
            (_, true) => if cut { (Code::Signature, Code::Signature) } else { (Code::Ok, Code::Ok) },
            (_, false) if cut => (Code::Signature, Code::NoCert),
            (_, false) => (if usable { Code::Ok } else { Code::Decode }, Code::NoCert),
        };
        assert_eq!(code(lib::verify_tst_signature(&token, Some(&certificate))), with, "{}", sample["Name"]);
        assert_eq!(code(lib::verify_tst_signature(&token, None)), without, "{}", sample["Name"]);
        if without == Code::Ok {
            assert_eq!(lib::get_tst_tsa_cert(&token).as_deref(), Ok(&certificate[..]));
        }
    }
    let token = file("samples/token_sha256_v2_cert.der");
    for (name, expected) in [("certificate_tsa.der", Code::Ok), ("certificate_root.der", Code::Signature), ("crl_root.der", Code::Arg)] {
        let certificate = file(&format!("samples/{name}"));
        assert_eq!(code(lib::verify_tst_signature(&token, Some(&certificate))), expected, "{name}");
    }
}

#[test]
fn empty_certificate_trusts_nobody() {
    let token = file("samples/token_sha256_v2_cert.der");
    let refused = lib::verify_tst_signature(&token, Some(&[]));
    assert!(matches!(&refused, Err(Error::Argument(text)) if text.contains("empty")), "{refused:?}");
}

#[test]
fn attribute_certificates_are_found_and_matched() {
    use_version_2();
    let (full, other) = (file("bouncycastle/tac_full.der"), file("bouncycastle/tac_digest.der"));
    let mut found = 0;
    for sample in records("token", 37) {
        if sample["Tac"] == "none" || sample["Version"] != "2" || sample["Protection"] == "yes" {
            continue;
        }
        let token = file(&format!("bouncycastle/{}", sample["Name"]));
        assert_eq!(lib::get_tst_time_attribute_cert(&token).as_deref(), Ok(&full[..]), "{}", sample["Name"]);
        assert_eq!(lib::check_tac_matches_tst(&full, &token), Ok(()));
        assert_eq!(code(lib::check_tac_matches_tst(&other, &token)), Code::Mismatch);
        let bare = lib::remove_attr_certs(&token).expect("a token");
        // In the certificate set it has another tag.
        assert!(contains(&token, &full[1..]) && !contains(&bare, &full[1..]), "{}", sample["Name"]);
        assert_eq!(lib::verify_tst_signature(&bare, None), Ok(()));
        found += 1;
    }
    assert!(found > 0);
    assert_eq!(code(lib::get_tst_time_attribute_cert(&file("samples/token_sha256_v2_cert.der"))), Code::NoTac);
}

#[test]
fn attribute_certificates_read_as_their_maker_wrote_them() {
    for sample in records("tac", 6) {
        let tac = file(&format!("bouncycastle/{}", sample["Name"]));
        if sample["Says"] == "role" {
            // An attribute that the library does not know.
            assert_eq!(code(lib::get_tac_cert_info_ex(&tac)), Code::Decode);
            continue;
        }
        let info = lib::get_tac_cert_info_ex(&tac).expect("an attribute certificate");
        assert_eq!(info.issuer_name, format!("C=SE;O=Example Trust;CN=Example TSA {}", sample["Key"]));
        assert_eq!(hex(&info.serial_number), sample["Serial"]);
        assert_eq!(hex(&info.signature_value), sample["Signature"]);
        assert_eq!(info.signature_algorithm, sample["Algorithm"]);
        assert_eq!((info.not_before.as_str(), info.not_after.as_str()), ("20240101000000Z", "20440101000000Z"));
        if sample["Serial"].len() <= 16 {
            assert_eq!(lib::get_tac_cert_info(&tac).expect("short").issuer_name, info.issuer_name);
        }
        // What Samples.java puts in.
        let short = TimingMetrics {
            ntp_time: "20240101000000Z".into(),
            offset: -0.25,
            delay: 1.5,
            expiration: "20250101000000Z".into(),
        };
        assert_eq!(lib::get_tac_timing_metrics(&tac).as_ref(), Ok(&short));
        let TimingMetrics { ntp_time, offset, delay, expiration } = short;
        let (leap_action, leap_time) = (1, "20170101000000Z".to_string());
        let metrics = TimingMetricsEx { ntp_time, offset, delay, expiration, leap_action, leap_time };
        assert_eq!(lib::get_tac_timing_metrics_ex(&tac), Ok(metrics));
        let policy = TimingPolicy { policy_id: "1.3.6.1.4.1.32473.2".into(), max_offset: 2.0, max_delay: 0.125 };
        assert_eq!(lib::get_tac_timing_policy(&tac), Ok(policy));
    }
}

#[test]
fn token_typed_as_plain_data_has_the_same_content() {
    let token = file("samples/token_sha256_v2_cert.der");
    let data = lib::tstinfo_to_id_data(&token).expect("a token");
    let id_data = [6, 9, 0x2a, 0x86, 0x48, 0x86, 0xf7, 0x0d, 1, 7, 1];
    assert!(contains(&data, &id_data));
    let info = lib::get_tst_tstinfo_ex(&token).expect("a token");
    assert!(contains(&data, &info.hashed_message));
}

#[test]
fn many_threads_get_their_own_results() {
    use_version_2();
    let (token, certificate) = (file("samples/token_sha256_v2_cert.der"), file("samples/certificate_tsa.der"));
    let mut damaged = token.clone();
    *damaged.last_mut().expect("octets") ^= 1;
    std::thread::scope(|scope| {
        for _ in 0..8 {
            scope.spawn(|| {
                for _ in 0..100 {
                    assert_eq!(code(lib::verify_tst_signature(&token, Some(&certificate))), Code::Ok);
                    assert_eq!(code(lib::verify_tst_signature(&damaged, Some(&certificate))), Code::Signature);
                }
            });
        }
    });
}
