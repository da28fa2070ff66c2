//! A program that is kept open: a job a line in, a document a line out, in the same order.
//!
//! Two threads serve each run. The writer sends lines, the reader matches documents with what waits for them. When the
//! program ends with work left, another one is started and gets all of it again, so nothing is lost.

use crate::answer::Answer;
use crate::job::Job;
use std::collections::VecDeque;
use std::error;
use std::ffi::OsString;
use std::fmt;
use std::fs::{self, File, OpenOptions};
use std::io::{self, BufRead, BufReader, Read, Seek, SeekFrom, Write};
use std::process::{Child, ChildStdin, Command, ExitStatus, Stdio};
use std::sync::atomic::{AtomicU32, Ordering};
use std::sync::mpsc::{channel, Receiver, Sender};
use std::sync::{Arc, Condvar, Mutex, MutexGuard, PoisonError};
use std::thread;

/// A job at which the program ends that often fails: it may be the cause.
const TRIES: u32 = 3;
/// The octets of a document; those of `qex` are far shorter, whatever the token.
const LONGEST: u64 = if cfg!(test) { 1 << 20 } else { 256 << 20 };

/// The program `qex` cannot be started, or does not do its work. The text says what to do.
#[derive(Clone, Debug, Eq, PartialEq)]
pub struct ToolError(pub(crate) String);

impl fmt::Display for ToolError {
    fn fmt(&self, f: &mut fmt::Formatter<'_>) -> fmt::Result {
        f.write_str(&self.0)
    }
}

impl error::Error for ToolError {}

pub(crate) type Outcome = Result<Answer, ToolError>;

/// A job that has no answer yet.
struct Waiting {
    number: i64,
    line: Arc<[u8]>,
    ends: u32,
    outcome: Sender<Outcome>,
}

/// What the threads of a run share with those that submit.
#[derive(Default)]
struct State {
    waiting: VecDeque<Waiting>, // the oldest first
    to_send: VecDeque<Arc<[u8]>>,
    number: i64,
    run: Option<u32>, // the process of the run that is on
    runs: u64,        // how many have begun: a writer whose run is over sees another number
    answered: u64,    // in this run
    closing: bool,
}

struct Shared {
    command: Vec<OsString>,
    state: Mutex<State>,
    changed: Condvar,
    #[cfg(test)]
    threads: AtomicU32, // that can be had
}

pub(crate) struct Program(Arc<Shared>);

impl Program {
    pub(crate) fn new(command: Vec<OsString>) -> Self {
        Self(Arc::new(Shared {
            command,
            state: Mutex::default(),
            changed: Condvar::new(),
            #[cfg(test)]
            threads: AtomicU32::new(u32::MAX),
        }))
    }

    /// Hands a job to the program, which it starts when none runs. The answer comes through the channel.
    pub(crate) fn submit(&self, job: &Job) -> Result<Receiver<Outcome>, ToolError> {
        let (outcome, receiver) = channel();
        let mut state = self.0.lock();
        if state.closing {
            return Err(ToolError("this Checker is closed; make another".into()));
        }
        state.number += 1;
        let number = state.number;
        match job.line(number) {
            Err(refused) => give(&outcome, Ok(*refused)),
            Ok(line) => {
                if state.run.is_none() {
                    self.0.start(&mut state)?;
                }
                let line: Arc<[u8]> = line.into();
                state.waiting.push_back(Waiting { number, line: Arc::clone(&line), ends: 0, outcome });
                state.to_send.push_back(line);
                self.0.changed.notify_all();
            }
        }
        Ok(receiver)
    }

    /// Waits for the answers that are still to come, and lets the program end.
    pub(crate) fn close(&self) {
        let mut state = self.0.lock();
        state.closing = true;
        self.0.changed.notify_all();
        while state.run.is_some() {
            state = self.0.changed.wait(state).unwrap_or_else(PoisonError::into_inner);
        }
    }

    #[cfg(test)]
    pub(crate) fn process(&self) -> Option<u32> {
        self.0.lock().run
    }

    /// Has that many more threads to be had.
    #[cfg(test)]
    pub(crate) fn have_threads(&self, count: u32) {
        self.0.threads.store(count, Ordering::SeqCst);
    }
}

impl Shared {
    fn lock(&self) -> MutexGuard<'_, State> {
        self.state.lock().unwrap_or_else(PoisonError::into_inner)
    }

    fn name(&self) -> String {
        self.command[0].to_string_lossy().into_owned()
    }

    /// Begins a run with all that waits.
    fn start(self: &Arc<Self>, state: &mut State) -> Result<(), ToolError> {
        let lacks = |error: io::Error| {
            let name = self.name();
            ToolError(format!("{name} cannot be started: {error}; this process lacks what that takes; the next check tries again"))
        };
        let said = unnamed_file().map_err(lacks)?;
        let mut command = Command::new(&self.command[0]);
        command.args(&self.command[1..]).stdin(Stdio::piped()).stdout(Stdio::piped());
        command.stderr(said.try_clone().map_err(lacks)?);
        let mut process = command.spawn().map_err(|error| match error.kind() {
            io::ErrorKind::NotFound | io::ErrorKind::PermissionDenied => ToolError(format!(
                "{} cannot be started: {error}; install the package qex, or name the program in the environment variable QEX_TOOL",
                self.name()
            )),
            _ => lacks(error),
        })?;
        state.runs += 1;
        let (run, input, id) = (state.runs, process.stdin.take(), process.id());
        let (hand_over, taken_over) = channel();
        let (writer, reader) = (Arc::clone(self), Arc::clone(self));
        // The writer ends at once while no run is on; the reader gets the process when both are there.
        let threads = self.thread(move || writer.write(run, input.expect("the pipe of stdin"))).and_then(|()| {
            self.thread(move || {
                if let Ok((process, said)) = taken_over.recv() {
                    reader.read(process, said);
                }
            })
        });
        if let Err(error) = threads {
            let _ = process.kill(); // it may have ended already
            let _ = process.wait();
            return Err(lacks(error));
        }
        state.to_send = state.waiting.iter().map(|one| Arc::clone(&one.line)).collect();
        state.run = Some(id);
        state.answered = 0;
        hand_over.send((process, said)).expect("the reader waits");
        Ok(())
    }

    fn thread(&self, serve: impl FnOnce() + Send + 'static) -> io::Result<()> {
        #[cfg(test)]
        if self.threads.fetch_update(Ordering::SeqCst, Ordering::SeqCst, |left| left.checked_sub(1)).is_err() {
            return Err(io::Error::new(io::ErrorKind::WouldBlock, "no thread"));
        }
        thread::Builder::new().spawn(serve).map(drop)
    }

    fn write(&self, run: u64, mut input: ChildStdin) {
        loop {
            let mut state = self.lock();
            while state.to_send.is_empty() && !state.closing && state.run.is_some() && state.runs == run {
                state = self.changed.wait(state).unwrap_or_else(PoisonError::into_inner);
            }
            if state.run.is_none() || state.runs != run {
                return;
            }
            let line = match state.to_send.pop_front() {
                Some(line) => line,
                None => return,
            };
            drop(state);
            if input.write_all(&line).is_err() {
                return; // it has ended, which the reader sees too
            }
        }
    }

    fn read(self: Arc<Self>, mut process: Child, said: File) {
        let mut output = BufReader::new(process.stdout.take().expect("the pipe of stdout"));
        let mut fault = None;
        let mut line = Vec::new();
        while fault.is_none() {
            line.clear();
            match output.by_ref().take(LONGEST).read_until(b'\n', &mut line) {
                Ok(_) if line.ends_with(b"\n") => fault = self.answer(&line).err(),
                Ok(length) if length as u64 == LONGEST => fault = Some("a line that is too long for a document".into()),
                _ => break,
            }
        }
        if fault.is_some() {
            let _ = process.kill(); // it may have ended already
        }
        let status = process.wait();
        self.end(status, fault, said);
    }

    /// Hands a document to its job, or says what is wrong with it.
    fn answer(&self, line: &[u8]) -> Result<(), String> {
        let (answer, number) = Answer::read(line)?;
        let mut state = self.lock();
        match state.waiting.pop_front() {
            Some(oldest) if oldest.number == number => {
                state.answered += 1;
                give(&oldest.outcome, Ok(answer));
                Ok(())
            }
            other => {
                if let Some(oldest) = other {
                    state.waiting.push_front(oldest);
                }
                Err(format!("a document for job {number}, which is not the next one"))
            }
        }
    }

    /// Starts another run for the work that is left, or gives it up.
    fn end(self: &Arc<Self>, status: io::Result<ExitStatus>, fault: Option<String>, mut said: File) {
        let mut text = Vec::new();
        // What it said is for the message alone; without it the message is shorter.
        let _ = said.seek(SeekFrom::Start(0)).and_then(|_| said.take(4096).read_to_end(&mut text));
        let text = String::from_utf8_lossy(&text);
        let how = status.as_ref().map_or_else(ToString::to_string, ToString::to_string);
        let by_itself = status.map_or(true, |status| status.code().is_some());
        let mut state = self.lock();
        state.run = None;
        let why = if let Some(fault) = fault {
            Some(ToolError(format!("{} wrote {fault}", self.name())))
        } else if by_itself && state.answered == 0 {
            // Another run would end the same way: it is another program, or its options are refused.
            Some(ToolError(format!("{} ended ({how}): {}", self.name(), text.trim())))
        } else {
            self.count_end(&mut state, &how);
            if state.waiting.is_empty() { None } else { self.start(&mut state).err() }
        };
        if let Some(why) = why {
            for one in state.waiting.drain(..) {
                give(&one.outcome, Err(why.clone()));
            }
        }
        self.changed.notify_all();
    }

    /// Answers the oldest job in place of a program that ends at it again and again.
    fn count_end(&self, state: &mut State, how: &str) {
        let ends = state.waiting.front_mut().map_or(0, |oldest| {
            oldest.ends += 1;
            oldest.ends
        });
        if ends == TRIES {
            let error = format!("{} ended {TRIES} times ({how}) before it answered", self.name());
            let answer = Answer::refusal(70, &error, "nothing is known about this one, so do not rely on it");
            if let Some(oldest) = state.waiting.pop_front() {
                give(&oldest.outcome, Ok(answer));
            }
        }
    }
}

fn give(outcome: &Sender<Outcome>, result: Outcome) {
    let _ = outcome.send(result); // nobody may wait for it any more
}

/// A file for standard error: unlike a pipe, nobody has to read it, and no process that is left over holds it open for us.
fn unnamed_file() -> io::Result<File> {
    static NUMBER: AtomicU32 = AtomicU32::new(0);
    loop {
        let number = NUMBER.fetch_add(1, Ordering::Relaxed);
        let path = std::env::temp_dir().join(format!("qex-{}-{number}", std::process::id()));
        match OpenOptions::new().read(true).write(true).create_new(true).open(&path) {
            Ok(file) => return fs::remove_file(&path).map(|()| file),
            Err(error) if error.kind() == io::ErrorKind::AlreadyExists => {}
            Err(error) => return Err(error),
        }
    }
}
