#!/usr/bin/env python3
"""Puts faults into the library one at a time and counts those that the tests see. scripts/mutate.sh is the way in.

Nothing outside of build/mutants is written. A source with its fault lies there, is compiled by the commands of an
ordinary build, and takes the place of the sound object when the test program is linked; a header with its fault lies
in a folder that is searched first, and every source of the library that includes it is compiled anew.
"""
import argparse
import json
import os
import re
import resource
import shlex
import shutil
import signal
import subprocess
import sys
import time
from pathlib import Path

from mutate_faults import chosen, faults_of

ROOT = Path(__file__).resolve().parent.parent
BUILD = ROOT / "build/mutants"
SPACE = BUILD / "fault"      # the file with its fault, the objects, the program
EXPLAINED = ROOT / "tests/mutants_explained.txt"
FOLDERS = ("ber", "asn1", "api", "crypto")
FOLDERS_BELOW = {"ber": {"ground", "ber"}, "asn1": {"ground", "ber", "asn1"}, "crypto": {"ground", "crypto"},
                 "api": {"ground", *FOLDERS}}
SLOW = 2.0                   # seconds; tests that take longer run after all others
COMPILE_SECONDS = 90


def run(command, **options):
    """The status of a command, or None when it took longer than `timeout`. Its whole process group ends with it."""
    timeout = options.pop("timeout", None)
    process = subprocess.Popen(command, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                               start_new_session=True, text=True, errors="replace", **options)
    try:
        said, _ = process.communicate(timeout=timeout)
        return process.returncode, said
    except subprocess.TimeoutExpired:
        return None, ""
    finally:
        if process.poll() is None:
            os.killpg(process.pid, signal.SIGKILL)
            process.communicate()


def limited():
    """Before a test program starts: a fault must fill neither memory nor disk."""
    resource.setrlimit(resource.RLIMIT_CORE, (0, 0))
    resource.setrlimit(resource.RLIMIT_DATA, (3 << 30, 3 << 30))
    resource.setrlimit(resource.RLIMIT_FSIZE, (1 << 30, 1 << 30))


class Library:
    """The sound build: objects, commands, and what each source includes."""

    def __init__(self):
        launcher = []
        if shutil.which("ccache"):
            launcher = [f"-DCMAKE_{language}_COMPILER_LAUNCHER=ccache" for language in ("C", "CXX")]
        self.must(["cmake", "-S", str(ROOT), "-B", str(BUILD), "-G", "Ninja", "-DCMAKE_BUILD_TYPE=Debug",
                   "-DCMAKE_CXX_FLAGS_DEBUG=-O1 -D_GLIBCXX_ASSERTIONS -fsanitize=bounds "
                   "-fsanitize-undefined-trap-on-error", "-DCMAKE_C_FLAGS_DEBUG=-O1", "-DQEX_BY_FOLDER=ON",
                   "-DCMAKE_EXPORT_COMPILE_COMMANDS=ON", *launcher])

    @staticmethod
    def must(command):
        status, said = run(command)
        if status != 0:
            sys.exit(f"{said}\nmutate: failed: {shlex.join(command)}")
        return said

    def build(self, targets):
        self.must(["cmake", "--build", str(BUILD), "-j", "1", "--target", *targets])
        self.compile, self.objects, self.tests = {}, {}, {}
        for entry in json.loads((BUILD / "compile_commands.json").read_text()):
            words = shlex.split(entry["command"])
            words = [w for w in words if not w.startswith(("-Werror", "-W")) and not w.endswith("ccache")] + ["-w"]
            output = words[words.index("-o") + 1]
            file = os.path.relpath(entry["file"], ROOT)
            if "qex_objects.dir" in output:
                self.compile[file], self.objects[file] = words, output
            elif any(f"/{target}.dir/" in output for target in targets):
                self.compile[file], self.tests[file] = words, output
        self.includes = {file: set() for file in self.objects}
        for block in self.must(["ninja", "-C", str(BUILD), "-t", "deps"]).split("\n\n"):
            lines = block.strip().splitlines()
            output = lines[0].split(":")[0] if lines else ""
            for file, made in self.objects.items():
                if made == output:
                    self.includes[file] = {os.path.relpath(BUILD / line.strip(), ROOT) for line in lines[1:]}
        self.links = {}
        for target in targets:
            commands = self.must(["ninja", "-C", str(BUILD), "-t", "commands", target]).strip().splitlines()
            words = next(shlex.split(part) for part in reversed(" && ".join(commands[-1:]).split(" && "))
                         if f"-o tests/{target}" in part)
            self.links[target] = words

    def put(self, fault, source):
        """Writes the file with its fault and returns the sources that it changes."""
        shutil.rmtree(SPACE, ignore_errors=True)
        changed = SPACE / "include" / fault.file
        changed.parent.mkdir(parents=True)
        changed.write_text(source[:fault.start] + fault.text + source[fault.end:])
        if fault.file.endswith(".cpp"):
            return [fault.file]
        return sorted(file for file, read in self.includes.items() if fault.file in read)

    def compiled(self, fault, files):
        """The objects of `files`, compiled anew, by file; None when they do not compile in time."""
        changed = SPACE / "include" / fault.file
        made = {}
        for file in files:
            words = list(self.compile[file])
            made[file] = str(SPACE / f"{file.replace('/', '_')}.o")
            words[words.index("-o") + 1] = made[file]
            if file == fault.file:
                words[words.index("-c") + 1] = str(changed)
            words[1:1] = ["-I", str(SPACE / "include")]
            status, _ = run(words, cwd=BUILD, timeout=COMPILE_SECONDS)
            if status != 0:
                return None
        return made

    def linked(self, target, made):
        """Links a test program from the sound objects and those of `made`. Of a function or a constant in a header
        the linker keeps the first copy, and the sound objects of another folder have one too: they come last."""
        program = str(SPACE / target)
        words = list(self.links[target])
        words[words.index("-o") + 1] = program
        others = [output for file, output in self.objects.items() if file not in made]
        changed = {output: made[file] for file, output in self.tests.items() if file in made}
        words = [changed.get(word, word) for word in words]
        first = next(i for i, word in enumerate(words) if word.endswith(".o"))
        objects = [made[file] for file in self.objects if file in made]
        words = words[:first] + objects + words[first:first + 1] + others + words[first + 1:]
        words = [word for word in words if "libqex_core.a" not in word]
        words.insert(1, "-fuse-ld=lld")
        status, said = run(words, cwd=BUILD)
        if status != 0:
            sys.exit(f"{said}\nmutate: cannot link {target}")
        return program

    def same_code(self, file, path):
        """Whether the object at `path` is the sound one of `file`: the fault changes nothing on this machine."""
        return Path(path).read_bytes() == (BUILD / self.objects[file]).read_bytes()

    def tests_of(self, target):
        """The sources of a test program."""
        return [file for file, output in self.tests.items() if f"/{target}.dir/" in output]

    @staticmethod
    def refuses_wrong_declarations():
        """Whether declarations that must not compile do not, with the header that has the fault."""
        test = ROOT / "tests/must_not_compile/must_not_compile_test.py"
        status, _ = run([sys.executable, "-B", str(test), str(ROOT), "c++", "-I", str(SPACE / "include")])
        return status == 0


class Program:
    """A test program: its tests, how long they take, and which fail without any fault."""

    def __init__(self, library, target):
        self.target = target
        report = BUILD / f"{target}.sound.json"
        if not report.exists() or report.stat().st_mtime < (BUILD / "tests" / target).stat().st_mtime:
            SPACE.mkdir(parents=True, exist_ok=True)
            report.unlink(missing_ok=True)
            status, said = self.start(library.linked(target, {}), [f"--gtest_output=json:{report}"], 1800)
            if status is None or not report.exists():
                sys.exit(f"{said[-4000:]}\nmutate: {target} does not run")
        self.seconds, self.failing = {}, []
        for suite in json.loads(report.read_text())["testsuites"]:
            for test in suite["testsuite"]:
                name = f"{suite['name']}.{test['name']}"
                if test.get("failures"):
                    self.failing.append(name)
                elif test.get("result") == "COMPLETED":
                    self.seconds[name] = float(test["time"].rstrip("s"))

    @staticmethod
    def start(program, arguments, seconds):
        folder = SPACE / "tmp"
        shutil.rmtree(folder, ignore_errors=True)
        folder.mkdir(parents=True)
        environment = {**os.environ, "TEST_TMPDIR": f"{folder}/", "TMPDIR": str(folder)}
        environment.pop("QEX_VERIFY_ESSCERTIDV2", None)
        return run([program, *arguments], cwd=folder, env=environment, timeout=seconds, preexec_fn=limited)

    def passes(self, first):
        """The tests in the order in which they are likely to see a fault: those of `first`, the others, the slow."""
        quick = [t for t in self.seconds if self.seconds[t] <= SLOW]
        slow = [t for t in self.seconds if self.seconds[t] > SLOW]
        near = [t for t in quick if t.split("/")[-1 if t.count("/") > 1 else 0] in first or t.split("/")[0] in first]
        for tests in (near, [t for t in quick if t not in near], slow):
            if tests:
                yield tests

    def sees(self, program, tests):
        """What a program with a fault does: "killed", "timed out" or None."""
        limit = max(5.0, 5 * sum(self.seconds[t] for t in tests))
        names = SPACE / "flags"
        names.write_text("--gtest_filter=" + ":".join(tests) + "\n")
        status, _ = self.start(program, [f"--gtest_flagfile={names}", "--gtest_fail_fast", "--gtest_brief=1"], limit)
        return "timed out" if status is None else "killed" if status != 0 else None


def tests_of(file):
    """The names of the tests in the test file of the same path."""
    test = ROOT / "tests" / f"{os.path.splitext(file)[0]}_test.cpp"
    if not test.exists():
        return set()
    return {f"{suite}.{name}" for suite, name in
            re.findall(r"^TEST(?:_F|_P)?\((\w+),\s*(\w+)\)", test.read_text(), re.MULTILINE)}


def explained():
    """The faults of the list: (file, line without, line with the fault). Its head says what the blocks are."""
    found = set()
    text = EXPLAINED.read_text() if EXPLAINED.exists() else ""
    for block in text.split("\n\n"):
        lines = [line for line in block.splitlines() if line and not line.startswith("#")]
        if not lines:
            continue
        file, before = lines[0], ""
        for line in lines[1:]:
            if line.startswith("- "):
                before = line[2:]
            elif line.startswith("+ "):
                found.add((file, before, line[2:]))
    return found


def judge(library, programs, fault, source):
    """What becomes of a fault: it is put in, compiled, and the programs are run until one sees it."""
    files = library.put(fault, source)
    near = tests_of(fault.file)
    made = {}
    for program in programs:
        # The tests of a folder reach no source of a folder above it.
        below = FOLDERS_BELOW[program.target.split("_")[1]]
        missing = [file for file in files if file not in made and file.split("/")[0] in below]
        more = library.compiled(fault, missing)
        if more is None:
            return "did not compile"
        made.update(more)
        if all(library.same_code(file, path) for file, path in made.items() if file in library.objects):
            if fault.file.endswith(".cpp"):
                return "same code"
        else:
            linked = library.linked(program.target, made)
            for tests in program.passes(near):
                if seen := program.sees(linked, tests):
                    return seen
        if fault.file.endswith(".h") and program is programs[0]:
            # What only the tests use of a header is in no object of the library.
            more = library.compiled(fault, library.tests_of(program.target))
            if more is None:
                return "did not compile"
            made.update(more)
            linked = library.linked(program.target, made)
            for tests in program.passes(near):
                if seen := program.sees(linked, tests):
                    return seen
    if fault.file.startswith("asn1/") and fault.file.endswith(".h") and not library.refuses_wrong_declarations():
        return "killed"
    return "survived"


def main():
    parser = argparse.ArgumentParser(prog="scripts/mutate.sh")
    parser.add_argument("place")
    parser.add_argument("count", nargs="?", type=int, default=150)
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--again", action="store_true")
    parser.add_argument("--near", action="store_true")
    parser.add_argument("--list", action="store_true")
    given = parser.parse_args()
    os.chdir(ROOT)
    place = given.place.rstrip("/")
    folder = place.split("/")[0]
    if folder not in FOLDERS or not Path(place).exists():
        sys.exit(f"mutate: {place} is neither one of {', '.join(FOLDERS)} nor a file of theirs")
    os.nice(10)
    signal.signal(signal.SIGTERM, lambda *_: sys.exit(1))

    files = [place] if Path(place).is_file() else \
        sorted(str(p) for end in ("cpp", "h") for p in Path(place).rglob(f"*.{end}"))
    elsewhere = ("_arm.cpp",)    # compiled for another machine than this one
    sources = {file: Path(file).read_text() for file in files if not file.endswith(("api/qex.h", *elsewhere))}
    faults = chosen([f for file, text in sources.items() for f in faults_of(file, text)], given.count, given.seed)
    record = BUILD / f"{place.replace('/', '_')}.json"
    verdicts, everything = {}, faults
    if given.again:
        verdicts = json.loads(record.read_text())
        faults = [f for f in faults if verdicts.get(f.key(), "survived") == "survived"]
    if given.list:
        for fault in faults:
            print(f"{fault.file}:{fault.line}: {fault.before} -> {fault.after}")
        return

    library = Library()
    targets = [f"qex_{folder}_test"]
    if folder != "api" and not given.near:
        targets.append("qex_api_test")
    library.build(targets)
    programs = [Program(library, target) for target in targets]
    for program in programs:
        print(f"{program.target}: {len(program.seconds)} tests, {sum(program.seconds.values()):.1f} s"
              + "".join(f"; fails without a fault, left out: {name}" for name in program.failing), flush=True)

    reasons = explained()
    possible = {(f.file, f.before, f.after) for file, text in sources.items() for f in faults_of(file, text)}
    for file, before, after in sorted(r for r in reasons if r[0] in sources and r not in possible):
        print(f"{EXPLAINED.relative_to(ROOT)}: no fault of {file} any more: {before} -> {after}")
    started = time.time()
    for fault in faults:
        if (fault.file, fault.before, fault.after) in reasons:
            verdict = "explained"
        else:
            verdict = judge(library, programs, fault, sources[fault.file])
        verdicts[fault.key()] = verdict
        record.write_text(json.dumps(verdicts, indent=0))
        if verdict == "survived":
            print(f"{fault.file}:{fault.line}: {fault.before} -> {fault.after}", flush=True)

    outcomes = [verdicts[fault.key()] for fault in everything]
    count = {v: outcomes.count(v) for v in ("killed", "timed out", "survived", "explained", "same code", "did not compile")}
    seen = count["killed"] + count["timed out"]
    judged = seen + count["survived"]
    print(f"{place}: {len(everything)} faults, {', '.join(f'{n} {v}' for v, n in count.items())}; "
          f"{100 * seen / judged if judged else 100:.1f} % seen; {len(faults)} of them tried in "
          f"{time.time() - started:.0f} s")


if __name__ == "__main__":
    main()
