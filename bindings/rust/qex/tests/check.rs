//! Whole answers, from the program that QEX_TOOL names.

mod support;

use qex::{check, Answer, Checker, Job, Message, Trust};
use std::path::PathBuf;
use support::{file, path};

const DIGEST: &str = "sha256:36c75d56467d5c5f21d80c7320587fc5dc235c331e1003cf168c93abb2c7cb97"; // of the stamped data

fn root() -> Trust {
    Trust { ca_file: vec![path("samples/certificate_root.der")], ..Trust::default() }
}

fn octets(name: &str) -> Option<Message> {
    Some(Message::Octets(file(&format!("samples/{name}"))))
}

fn job(token: Option<Message>) -> Job {
    Job { token, ..Job::default() }
}

#[test]
fn token_of_a_trusted_authority_passes() {
    let pin = Trust { tsa_cert: vec![path("samples/certificate_tsa.der")], ..Trust::default() };
    let reply = octets("reply_sha256_v2_cert.der");
    for trust in [root(), pin] {
        let checker = Checker::new(&trust, Some(1)).expect("QEX_TOOL");
        for job in [
            Job { digest: Some(DIGEST.into()), request: octets("request_sha256_cert.der"), ..job(reply.clone()) },
            Job {
                token: Some(Message::File(path("samples/reply_sha256_v2_cert.der"))),
                request: Some(Message::File(path("samples/request_sha256_cert.der"))),
                ..Job::default()
            },
            Job { nonce: Some("B856CEB5E653AF1F".into()), policy: Some("1.3.6.1.4.1.32473.1".into()), ..job(reply.clone()) },
        ] {
            let answer = checker.check(&job).expect("an answer");
            assert!(answer.passed() && answer.authority_checked && answer.checks.len() >= 10, "{answer:?}");
            assert_eq!(answer.indication.as_deref(), Some("PASSED"));
            assert_eq!((answer.failures().count(), &answer.error), (0, &None));
            // As `openssl ts -reply -text` prints it: Nov 20 11:51:26.977 2026 GMT.
            assert_eq!(answer.time.as_deref(), Some("2026-11-20T11:51:26.977Z"));
        }
    }
}

#[test]
fn failures_are_told_apart() {
    let mut damaged = file("samples/reply_sha256_v2_cert.der");
    *damaged.last_mut().expect("octets") ^= 1;
    let other = Some(format!("sha256:{}", "00".repeat(32)));
    let reply = octets("reply_sha256_v2_cert.der");
    let cases = [
        (Job { digest: other, ..job(reply.clone()) }, 1, "imprint", "HASH_FAILURE"),
        (job(Some(Message::Octets(damaged))), 1, "signature", "SIG_CRYPTO_FAILURE"),
        (Job { nonce: Some("01".into()), ..job(reply) }, 1, "nonce", "SIG_CONSTRAINTS_FAILURE"),
        (job(octets("reply_rejected.der")), 5, "", ""),
        (job(octets("certificate_tsa.der")), 4, "", ""),
        (job(Some(Message::File(PathBuf::from("absent")))), 3, "", ""),
        (Job { digest: Some("\"\u{1}\\".into()), ..Job::default() }, 2, "", ""),
        (Job::default(), 2, "", ""),
        // What is refused here, because the program could take it for something else.
        (job(Some(Message::Octets(Vec::new()))), 4, "", ""),
        (job(Some(Message::Octets(b"/etc/passwd".to_vec()))), 4, "", ""),
    ];
    for (job, exit, failure, sub_indication) in cases {
        let answer: Answer = check(&root(), &job).expect("an answer");
        assert!(!answer.passed() && answer.error.is_some(), "{answer:?}");
        assert_eq!(answer.exit, exit, "{answer:?}");
        assert_eq!(answer.failures().next().map_or("", |check| &check.name), failure);
        assert_eq!(answer.sub_indication.as_deref().unwrap_or_default(), sub_indication);
    }
}

#[test]
fn root_that_did_not_sign_fails_the_chain() {
    let trust = Trust { ca_file: vec![path("samples/certificate_tsa.der")], ..Trust::default() };
    let answer = check(&trust, &job(octets("reply_sha256_v2_cert.der"))).expect("an answer");
    assert!(!answer.passed());
    assert_eq!(answer.sub_indication.as_deref(), Some("NO_CERTIFICATE_CHAIN_FOUND"));
}
