//! Libraries and programs that are missing or do not fit, each in a process of its own.

use std::env;
use std::fs;
use std::path::{Path, PathBuf};
use std::process::Command;

const SONAME: &str = "libqex.so.1";

/// Not a test: what the others run with another library or PATH.
#[test]
fn helper_loads() {
    if env::var_os("QEX_TEST_HELPER").is_none() {
        return;
    }
    let library = qex::lib::get_last_asn_error();
    if let Err(error) = &library {
        assert!(matches!(error, qex::lib::Error::Library(_)), "{error:?}");
        println!("HELPER {error}");
    }
    let trust = qex::Trust { system_ca: true, ..qex::Trust::default() };
    if let Err(error) = qex::Checker::new(&trust, None) {
        println!("HELPER {error}");
    }
}

fn said(settings: &[(&str, &str)]) -> String {
    let mut helper = Command::new(env::current_exe().expect("this test"));
    helper.args(["--exact", "helper_loads", "--nocapture"]).env("QEX_TEST_HELPER", "1").envs(settings.iter().copied());
    let done = helper.output().expect("this test");
    assert!(done.status.success(), "{}", String::from_utf8_lossy(&done.stderr));
    let lines = String::from_utf8_lossy(&done.stdout).into_owned();
    lines.lines().filter_map(|line| line.split_once("HELPER ")).map(|(_, text)| text).collect()
}

/// Makes a library of C source that is not the one expected.
fn build(folder: &Path, name: &str, source: &str, options: &[&str]) -> String {
    let (code, library) = (folder.join(format!("{name}.c")), folder.join(format!("{name}.so")));
    fs::write(&code, source).expect("a source");
    let compiler = env::var("CC").unwrap_or_else(|_| "cc".into());
    let done = Command::new(compiler).args(["-shared", "-fPIC", "-o"]).arg(&library).arg(&code).args(options).status();
    assert!(done.expect("a C compiler").success());
    library.to_str().expect("UTF-8").into()
}

#[test]
fn libraries_that_do_not_fit_are_named_with_the_next_step() {
    let folder: PathBuf = env::temp_dir().join(format!("qex-load-{}", std::process::id()));
    fs::create_dir_all(&folder).expect("a folder");
    let own = format!("-Wl,-soname,{SONAME}");
    let script = folder.join("map");
    fs::write(&script, "QEX_0.9 { global: QEX_*; local: *; };\n").expect("a script");
    let script = format!("-Wl,--version-script={}", script.display());
    for (library, says) in [
        ("/absent/libqex.so.1".to_string(), "cannot be loaded"),
        (build(&folder, "other", "int other;", &[]), "is not libqex.so.1"),
        (build(&folder, "older", "void QEX_MD5_Init(void) {}", &[&own]), "lacks QEX_MD5_Update: it is older"),
        (build(&folder, "version", "void QEX_MD5_Init(void) {}", &[&own, &script]), "QEX_MD5_Init in another version than"),
    ] {
        let said = said(&[("QEX_LIBRARY", &library)]);
        for part in [says, "install the package libqex1", "QEX_LIBRARY"] {
            assert!(said.contains(part), "{part}: {said:?}");
        }
    }
    fs::remove_dir_all(&folder).expect("the folder");
}

#[test]
fn missing_program_is_named_with_the_next_step() {
    let said = said(&[("QEX_TOOL", ""), ("PATH", "/absent")]);
    assert!(said.contains("no program qex is in PATH; install the package qex"), "{said:?}");
}
