//! The program that is kept open: killed, missing, or another one. Those who run it with `qex` set QEX_TOOL.

use crate::program::Program;
use crate::{Checker, Job, Message, ToolError, Trust};
use std::fs;
use std::os::unix::fs::PermissionsExt;
use std::path::PathBuf;
use std::process::Command;

fn sample(name: &str) -> PathBuf {
    PathBuf::from(env!("CARGO_MANIFEST_DIR")).join("../../../tests/data/samples").join(name)
}

/// A program of the shell's, in a folder of its own, which goes with it.
struct Script(PathBuf);

impl Script {
    fn new(name: &str, text: &str) -> Self {
        let folder = std::env::temp_dir().join(format!("qex-test-{}-{name}", std::process::id()));
        fs::create_dir_all(&folder).expect("a folder");
        fs::write(folder.join("qex"), format!("#!/bin/sh\n{text}\n")).expect("a script");
        fs::set_permissions(folder.join("qex"), fs::Permissions::from_mode(0o700)).expect("a script");
        Self(folder)
    }

    fn program(&self) -> Program {
        Program::new(vec!["/bin/sh".into(), self.0.join("qex").into()])
    }
}

impl Drop for Script {
    fn drop(&mut self) {
        let _ = fs::remove_dir_all(&self.0);
    }
}

fn digest(text: &str) -> Job {
    Job { digest: Some(text.into()), ..Job::default() }
}

#[test]
fn killed_program_loses_nothing() {
    let trust = Trust { ca_file: vec![sample("certificate_root.der")], ..Trust::default() };
    let checker = Checker::new(&trust, Some(2)).expect("QEX_TOOL");
    let reply = fs::read(sample("reply_sha256_v2_cert.der")).expect("a sample");
    // Every hundredth is for other data.
    let jobs = (0..2000).map(|n| Job {
        token: Some(Message::Octets(reply.clone())),
        digest: Some(match n % 100 {
            7 => format!("sha256:{}", "00".repeat(32)),
            _ => "sha256:36c75d56467d5c5f21d80c7320587fc5dc235c331e1003cf168c93abb2c7cb97".into(),
        }),
        ..Job::default()
    });
    let mut count = 0;
    for (n, answer) in checker.check_many(jobs).enumerate() {
        let answer = answer.expect("an answer");
        assert_eq!(answer.passed(), n % 100 != 7, "{n}: {:?}", answer.error);
        if n == 100 || n == 900 {
            let process = checker.process().expect("a program").to_string();
            assert!(Command::new("kill").args(["-9", &process]).status().expect("kill").success());
        }
        count += 1;
    }
    assert_eq!(count, 2000);
}

#[test]
fn job_at_which_the_program_dies_is_answered_and_the_next_one_too() {
    let script = Script::new(
        "dies",
        r#"while read -r job; do
             case $job in *dies*) kill -9 $$;; esac
             id=${job#*\"id\":}; echo "{\"id\":${id%%,*},\"schema\":1,\"exit\":0,\"error\":null}"
           done"#,
    );
    let program = script.program();
    let answers = ["a", "dies", "b"].map(|text| program.submit(&digest(text)).expect("a program"));
    let exits = answers.map(|answer| answer.recv().expect("an answer").map(|answer| answer.exit));
    assert_eq!(exits, [Ok(0), Ok(70), Ok(0)]);
    program.close();
    assert_eq!(program.process(), None);
    let refused = program.submit(&digest("c")).err().expect("an error");
    assert!(refused.to_string().contains("closed"), "{refused}");
}

#[test]
fn programs_that_do_not_do_their_work_are_named() {
    for (n, (text, says)) in [
        ("echo 'qex: error: no' >&2; exit 2", "(exit status: 2): qex: error: no"),
        ("read job; echo nonsense", "no document"),
        (r#"read job; echo '{"id":99,"schema":1,"exit":0}'; read job"#, "job 99"),
        (r#"read job; echo '{"id":1,"schema":7,"exit":0}'; read job"#, "schema"),
        (r#"read job; echo '{"id":1,"schema":1}'; read job"#, "no document"),
        ("read job; while :; do printf %65536s; done", "too long for a document"),
    ]
    .iter()
    .enumerate()
    {
        let script = Script::new(&n.to_string(), text);
        let answer = script.program().submit(&digest("x")).expect("a program").recv().expect("an outcome");
        let refused = answer.expect_err("no answer");
        assert!(refused.to_string().contains(says), "{refused}");
    }
    let refused = Program::new(vec!["/absent/qex".into()]).submit(&digest("x")).err().expect("an error");
    assert!(refused.to_string().contains("QEX_TOOL"), "{refused}");
}

#[test]
fn nobody_is_trusted_by_default() {
    let refused: ToolError = Checker::new(&Trust { allow_weak: true, ..Trust::default() }, None).expect_err("no trust");
    assert!(refused.to_string().contains("nobody is trusted"), "{refused}");
    let refused = Checker::new(&Trust { ca_file: vec!["a\0b".into()], ..Trust::default() }, None).expect_err("no file");
    assert!(refused.to_string().contains("holds a NUL"), "{refused}");
}

#[test]
fn next_check_tries_again_to_get_threads() {
    let script = Script::new(
        "threads",
        r#"while read -r job; do
             case $job in *last*) kill -9 $$;; esac
             id=${job#*\"id\":}; echo "{\"id\":${id%%,*},\"schema\":1,\"exit\":0,\"error\":null}"
           done"#,
    );
    let program = script.program();
    for count in [0, 1] {
        program.have_threads(count);
        let refused = program.submit(&digest("a")).err().expect("an error");
        assert!(refused.to_string().contains("no thread; this process lacks what that takes; the next check tries again"), "{refused}");
        program.have_threads(2);
        let answers = ["a", "last"].map(|text| program.submit(&digest(text)).expect("a program"));
        // It dies at the last one, and another one cannot be served.
        let [first, last] = answers.map(|answer| answer.recv().expect("an outcome"));
        assert_eq!(first.map(|answer| answer.exit), Ok(0));
        assert!(last.expect_err("no thread").to_string().contains("no thread"));
    }
}
