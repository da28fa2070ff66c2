//! Finds libqex and checks that it is the one that the declarations describe.

use crate::interface::{Functions, SONAME, VERSION_NODE};
use std::env;
use std::error;
use std::ffi::{CStr, CString, OsString};
use std::fmt;
use std::os::raw::{c_char, c_int, c_void};
use std::os::unix::ffi::OsStringExt;
use std::path::Path;
use std::sync::{Mutex, PoisonError};

const NEXT_STEP: &str = "install the package libqex1, or name the library's file in the environment variable QEX_LIBRARY";

/// libqex cannot be loaded, or is not the version that this crate needs. The text says what to do.
#[derive(Clone, Debug, Eq, PartialEq)]
pub struct LoadError(String);

impl fmt::Display for LoadError {
    fn fmt(&self, f: &mut fmt::Formatter<'_>) -> fmt::Result {
        f.write_str(&self.0)
    }
}

impl error::Error for LoadError {}

#[link(name = "dl")]
extern "C" {
    fn dlopen(name: *const c_char, flags: c_int) -> *mut c_void;
    fn dlsym(library: *mut c_void, name: *const c_char) -> *mut c_void;
    fn dlerror() -> *const c_char;
}

const RTLD_DEFAULT: *mut c_void = std::ptr::null_mut();
const RTLD_NOW: c_int = 2;
const RTLD_NOLOAD: c_int = 4;

type Dlvsym = unsafe extern "C" fn(*mut c_void, *const c_char, *const c_char) -> *mut c_void;

/// The library, loaded at the first call: the file that `QEX_LIBRARY` names, else what the system's loader finds.
///
/// # Errors
/// [`LoadError`], when it is missing or does not fit. The next call tries again.
pub fn library() -> Result<&'static Functions, LoadError> {
    static LOADED: Mutex<Option<&'static Functions>> = Mutex::new(None);
    let mut loaded = LOADED.lock().unwrap_or_else(PoisonError::into_inner);
    if let Some(functions) = *loaded {
        return Ok(functions);
    }
    let functions: &'static Functions = Box::leak(Box::new(load(place())?));
    *loaded = Some(functions);
    Ok(functions)
}

fn place() -> OsString {
    match env::var_os("QEX_LIBRARY") {
        Some(chosen) if !chosen.is_empty() => match env::current_dir() {
            Ok(here) => here.join(Path::new(&chosen)).into_os_string(), // a name without a slash would be searched for
            Err(_) => chosen,
        },
        _ => SONAME.into(),
    }
}

fn load(place: OsString) -> Result<Functions, LoadError> {
    let name = place.to_string_lossy().into_owned();
    let path = CString::new(place.into_vec()).map_err(|_| LoadError(format!("QEX_LIBRARY holds a NUL; {NEXT_STEP}")))?;
    // SAFETY: the name is terminated. dlerror's text holds until this thread's next call of dlopen or dlsym.
    let (library, complaint) = unsafe {
        let library = dlopen(path.as_ptr(), RTLD_NOW);
        let why = if library.is_null() { dlerror() } else { std::ptr::null() };
        (library, if why.is_null() { String::new() } else { CStr::from_ptr(why).to_string_lossy().into_owned() })
    };
    if library.is_null() {
        return Err(LoadError(format!("libqex cannot be loaded: {complaint}; {NEXT_STEP}")));
    }
    check_soname(&name, library)?;
    // SAFETY: dlvsym, where there is one, has this type; a null pointer is None.
    let versioned: Option<Dlvsym> =
        unsafe { std::mem::transmute::<*mut c_void, _>(dlsym(RTLD_DEFAULT, "dlvsym\0".as_ptr().cast())) };
    let node = format!("{VERSION_NODE}\0");
    // SAFETY: the names are terminated, and the library is the one that declares these functions, by its name and the
    // version of its symbols.
    unsafe {
        Functions::filled(|function| {
            let address = dlsym(library, function.as_ptr().cast());
            let shown = function.trim_end_matches('\0');
            if address.is_null() {
                return Err(LoadError(format!("{name} lacks {shown}: it is older than this crate; {NEXT_STEP}")));
            }
            match versioned {
                Some(find) if find(library, function.as_ptr().cast(), node.as_ptr().cast()).is_null() => Err(LoadError(
                    format!("{name} has {shown} in another version than {VERSION_NODE}; {NEXT_STEP}"),
                )),
                _ => Ok(address),
            }
        })
    }
}

/// glibc finds a loaded library again by its own name; other C libraries do not.
fn check_soname(name: &str, library: *mut c_void) -> Result<(), LoadError> {
    let own = format!("{SONAME}\0");
    // SAFETY: the names are terminated.
    let same = unsafe {
        if dlsym(RTLD_DEFAULT, "gnu_get_libc_version\0".as_ptr().cast()).is_null() {
            return Ok(());
        }
        dlopen(own.as_ptr().cast(), RTLD_NOW | RTLD_NOLOAD)
    };
    if same.is_null() {
        return Err(LoadError(format!(
            "{name} is not {SONAME} by its own name: it is another version, or another library; {NEXT_STEP}"
        )));
    }
    if same != library {
        return Err(LoadError(format!(
            "{name} cannot be used, because this process has another {SONAME} loaded; let both name the same file"
        )));
    }
    Ok(())
}
