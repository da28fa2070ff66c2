//! `check` and `check_many`: the whole answer about tokens, from one program that is kept open.

use crate::answer::Answer;
use crate::job::Job;
use crate::program::{Outcome, Program, ToolError};
use crate::trust::Trust;
use std::collections::VecDeque;
use std::env;
use std::ffi::OsString;
use std::fmt;
use std::path::PathBuf;
use std::sync::mpsc::{Receiver, TryRecvError};
use std::sync::{Arc, Mutex, PoisonError};

/// Jobs that `check_many` hands out before it waits for the oldest answer.
const AHEAD: usize = 1024;

/// Checks tokens by one [`Trust`] with one program, which starts at the first check and ends when this is dropped. Threads
/// may share it. A program that is killed is started again and loses nothing; so is one that Ctrl-C at the terminal ends,
/// if this process goes on.
pub struct Checker(Program);

impl Checker {
    /// A checker that runs that many jobs at once; one a core for `None`.
    ///
    /// # Errors
    /// [`ToolError`], when the program is missing or nobody is trusted.
    pub fn new(trust: &Trust, jobs: Option<u32>) -> Result<Self, ToolError> {
        if !trust.names_somebody() {
            return Err(ToolError(
                "nobody is trusted: name an authority (tsa_cert, tsa_fingerprint) or a root (ca_file, ca_path, system_ca), or \
                 say insecure_any_signer"
                    .into(),
            ));
        }
        let options = trust.options().map_err(|error| ToolError(format!("the paths of this Trust: {error}")))?;
        if options.iter().any(|option| option.to_string_lossy().contains('\0')) {
            return Err(ToolError("an option of this Trust holds a NUL; name the file".into()));
        }
        let mut command = vec![tool()?.into_os_string()];
        command.extend(["verify", "--jobs", "-"].map(OsString::from));
        if let Some(jobs) = jobs {
            command.push(format!("-j{jobs}").into());
        }
        command.extend(options);
        Ok(Self(Program::new(command)))
    }

    /// The answer about one token.
    ///
    /// # Errors
    /// [`ToolError`], when the program is missing or refuses the [`Trust`]. Everything about the token is in the answer.
    pub fn check(&self, job: &Job) -> Result<Answer, ToolError> {
        received(&self.0.submit(job)?)
    }

    /// The answers in the order of the jobs, on all cores. It takes at most 1024 jobs ahead of the answers.
    pub fn check_many<I: IntoIterator<Item = Job>>(&self, jobs: I) -> Answers<'_, I::IntoIter> {
        Answers { checker: self, jobs: jobs.into_iter(), submitted: VecDeque::new(), failed: None }
    }

    #[cfg(test)]
    pub(crate) fn process(&self) -> Option<u32> {
        self.0.process()
    }
}

impl Drop for Checker {
    fn drop(&mut self) {
        self.0.close();
    }
}

impl fmt::Debug for Checker {
    fn fmt(&self, f: &mut fmt::Formatter<'_>) -> fmt::Result {
        f.write_str("Checker")
    }
}

/// Answers in the order of jobs, from [`Checker::check_many`].
pub struct Answers<'a, I> {
    checker: &'a Checker,
    jobs: I,
    submitted: VecDeque<Receiver<Outcome>>,
    failed: Option<ToolError>, // comes after the answers to what was submitted before
}

impl<I: Iterator<Item = Job>> Iterator for Answers<'_, I> {
    type Item = Result<Answer, ToolError>;

    fn next(&mut self) -> Option<Self::Item> {
        while self.submitted.len() < AHEAD && self.failed.is_none() {
            match self.submitted.front().map(Receiver::try_recv) {
                Some(Err(TryRecvError::Empty)) | None => {}
                Some(ready) => {
                    self.submitted.pop_front();
                    return Some(ready.unwrap_or_else(|_| Err(gone())));
                }
            }
            match self.jobs.next().map(|job| self.checker.0.submit(&job)) {
                Some(Ok(one)) => self.submitted.push_back(one),
                Some(Err(error)) => self.failed = Some(error),
                None => break,
            }
        }
        match self.submitted.pop_front() {
            Some(oldest) => Some(received(&oldest)),
            None => self.failed.take().map(Err),
        }
    }
}

impl<I> fmt::Debug for Answers<'_, I> {
    fn fmt(&self, f: &mut fmt::Formatter<'_>) -> fmt::Result {
        write!(f, "Answers({} to come)", self.submitted.len())
    }
}

fn received(outcome: &Receiver<Outcome>) -> Outcome {
    outcome.recv().unwrap_or_else(|_| Err(gone()))
}

/// A channel ends without an answer only when the threads of the program have panicked.
fn gone() -> ToolError {
    ToolError("the threads that serve qex are gone; make another Checker".into())
}

/// The program: the file of `QEX_TOOL`, else the `qex` of `PATH`.
fn tool() -> Result<PathBuf, ToolError> {
    if let Some(chosen) = env::var_os("QEX_TOOL").filter(|chosen| !chosen.is_empty()) {
        let here = env::current_dir().map_err(|error| ToolError(format!("QEX_TOOL: {error}; give an absolute path")))?;
        return Ok(here.join(chosen));
    }
    let folders = env::var_os("PATH").unwrap_or_default();
    let found = env::split_paths(&folders).map(|folder| folder.join("qex")).find(|path| path.is_file());
    found.ok_or_else(|| {
        ToolError(
            "no program qex is in PATH; install the package qex, or name the program in the environment variable QEX_TOOL".into(),
        )
    })
}

/// [`Checker::check`] by a checker that is kept for this [`Trust`] until the process ends.
///
/// # Errors
/// Those of [`Checker::new`] and [`Checker::check`].
pub fn check(trust: &Trust, job: &Job) -> Result<Answer, ToolError> {
    static CHECKERS: Mutex<Vec<(Trust, Arc<Checker>)>> = Mutex::new(Vec::new());
    let checker = {
        let mut checkers = CHECKERS.lock().unwrap_or_else(PoisonError::into_inner);
        match checkers.iter().find(|(known, _)| known == trust) {
            Some((_, checker)) => Arc::clone(checker),
            None => {
                let checker = Arc::new(Checker::new(trust, None)?);
                checkers.push((trust.clone(), Arc::clone(&checker)));
                checker
            }
        }
    };
    checker.check(job)
}
