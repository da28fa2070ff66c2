"""qex completion: the shells themselves ask the scripts for completions."""

import os
import pty
import re
import select
import shlex
import shutil
import subprocess
import time
import unittest

import support
from support import ToolTest, environment, run, run_json

SHELLS = ("bash", "zsh", "fish")


def commands():
    return re.findall(r"^  (\w+)", run("help", check=0).stdout.decode().split("options of every")[0], flags=re.M)


def options_of(command):
    """All options that the help of a command lists."""
    text = run("help", command, check=0).stdout.decode().split("examples:")[0]
    return set(re.findall(r"(?m)(?:^  |, )(--?[a-zA-Z0-9][\w-]*)", text))


def needs(shell):
    return unittest.skipUnless(shutil.which(shell), f"{shell} is not installed")


class ScriptTest(ToolTest):
    def test_EveryCommandAndOptionIsInEachScript(self):
        for shell in SHELLS:
            script = run("completion", shell, check=0).stdout.decode()
            for command in commands():
                self.assertIn(command, script)
                for option in options_of(command):
                    with self.subTest(shell=shell, command=command, option=option):
                        word = option if shell != "fish" else ("-l " + option[2:] if option[:2] == "--" else "-s " + option[1:])
                        self.assertRegex(script, rf"(?<![\w-]){word}(?![\w-])")

    def test_TheScriptIsAMemberOfTheDocument(self):
        document = run_json("completion", "bash", check=0)
        self.assertEqual(document["script"], run("completion", "bash", check=0).stdout.decode())

    def test_TheSpecificationsOfZshAreThoseOfEachCommand(self):
        script = run("completion", "zsh", check=0).stdout.decode()
        for command in commands():
            with self.subTest(command=command):
                part = re.search(rf"^      {command}\) _arguments -s(.*?) ;;$", script, flags=re.M | re.S)[1]
                self.assertEqual(set(re.findall(r"(?m)^ +'\*?(--?[\w-]+)\[", part)), options_of(command))

    def test_AnotherShellIsRefused(self):
        self.assert_error(run("completion", "tcsh"), 2, "tcsh")
        self.assert_error(run("completion"), 2)

    def test_TheShellsReadTheirScripts(self):
        for shell in SHELLS:
            if shutil.which(shell):
                with self.subTest(shell=shell):
                    self.write(self.path(shell), run("completion", shell, check=0).stdout)
                    done = subprocess.run([shell, "-n", self.path(shell)], capture_output=True, check=False)
                    self.assertEqual((done.returncode, done.stderr), (0, b""))


@needs("bash")
class BashTest(ToolTest):
    def complete(self, *words):
        """The completions of bash for the last of the words that follow qex."""
        words = ("qex", *words)
        script = ("source <(\"$QEX\" completion bash)\n"
                  f"COMP_WORDS=({' '.join(shlex.quote(word) for word in words)})\n"
                  f"COMP_CWORD={len(words) - 1}\n_qex\n"
                  "printf '%s\\n' \"${COMPREPLY[@]}\"\n")
        done = subprocess.run(["bash", "--norc", "-c", script], cwd=self.folder, capture_output=True, check=True,
                              env=environment(QEX=support.QEX))
        self.assertEqual(done.stderr, b"")
        return [word for word in done.stdout.decode().split("\n") if word]

    def test_ItIsRegistered(self):
        done = subprocess.run(["bash", "--norc", "-c", "source <(\"$QEX\" completion bash); complete -p qex"],
                              capture_output=True, check=True, env=environment(QEX=support.QEX))
        self.assertEqual(done.stdout, b"complete -F _qex qex\n")

    def test_CommandsAreCompleted(self):
        self.assertEqual(self.complete(""), commands())
        self.assertEqual(self.complete("ver"), ["verify", "version"])
        self.assertEqual(self.complete("--json", "re"), ["request", "reply", "rewrite"])
        self.assertEqual(self.complete("help", "sh"), ["show"])

    def test_OptionsOfTheCommandAreCompleted(self):
        for command in commands():
            with self.subTest(command=command):
                self.assertEqual(set(self.complete(command, "-")), options_of(command))
        self.assertEqual(self.complete("verify", "file", "--tsa-"), ["--tsa-cert", "--tsa-fingerprint"])
        self.assertIn("--version", self.complete("--v"))

    def test_ChoicesAreCompleted(self):
        self.assertEqual(self.complete("verify", "--ess", ""), ["auto", "v1", "v2"])
        self.assertEqual(self.complete("verify", "--color", "a"), ["auto", "always"])
        # bash takes "--color=a" for three words.
        self.assertEqual(self.complete("verify", "--color", "=", "a"), ["auto", "always"])
        self.assertEqual(self.complete("verify", "--color", "="), ["auto", "always", "never"])
        self.assertEqual(self.complete("--color", "n"), ["never"])
        self.assertEqual(self.complete("digest", "--hash", "sha38"), ["sha384"])
        self.assertEqual(self.complete("tac", ""), ["get", "show", "check"])
        self.assertEqual(self.complete("completion", ""), ["bash", "zsh", "fish"])

    def test_FilesAreCompletedWhereFilesAreNamed(self):
        self.write(self.path("a b"), b"")
        for words in (("verify", ""), ("verify", "--token", ""), ("cert", "x", "-o", ""), ("tac", "get", "")):
            with self.subTest(words=words):
                self.assertEqual(sorted(self.complete(*words)), ["a b", "report.txt"])
        for words in (("stamp", "--tsa", ""), ("verify", "--nonce", ""), ("stamp", "--retry", ""), ("version", ""),
                      ("explain", "")):
            with self.subTest(words=words):
                self.assertEqual(self.complete(*words), [])

    def test_FilesOfTheKindMeantComeAlone(self):
        for name in ("a.tsr", "a.token", "roots.pem", "list.sha256", "stop.crl"):
            self.write(self.path(name), b"")
        os.mkdir(self.path("folder"))
        for words, files in ((("verify", "--token", ""), ["a.token", "a.tsr", "folder"]),
                             (("cert", ""), ["a.token", "a.tsr", "folder"]), (("tac", "get", ""), ["a.token", "a.tsr", "folder"]),
                             (("verify", "--ca-file", ""), ["folder", "roots.pem"]),
                             (("verify", "--crl", ""), ["folder", "roots.pem", "stop.crl"]),
                             (("digest", "--check", ""), ["folder", "list.sha256"]),
                             (("verify", "--ca-path", ""), ["folder"]), (("stamp", "--dir", ""), ["folder"]),
                             (("digest", "l"), ["list.sha256"]),
                             # No file here is a request: all are offered.
                             (("verify", "--request", "r"), ["report.txt", "roots.pem"])):
            with self.subTest(words=words):
                self.assertEqual(sorted(self.complete(*words)), files)

    def test_NamesWithASpecialMeaningAreOffered(self):
        self.assertEqual(self.complete("verify", "--at", ""), ["gentime", "now"])


@needs("fish")
class FishTest(ToolTest):
    def complete(self, line):
        self.write(self.path("qex.fish"), run("completion", "fish", check=0).stdout)
        script = f"source {self.path('qex.fish')}; complete -C {shlex.quote(line)}"
        done = subprocess.run(["fish", "--no-config", "-c", script], cwd=self.folder, capture_output=True, check=True,
                              env=environment(HOME=self.folder))
        return [word.split("\t")[0] for word in done.stdout.decode().splitlines()]

    def test_CommandsOptionsAndChoicesAreCompleted(self):
        self.assertEqual(sorted(self.complete("qex ")), sorted(commands()))
        self.assertEqual(set(self.complete("qex verify --")), {o for o in options_of("verify") if o.startswith("--")})
        self.assertEqual(self.complete("qex verify --ess "), ["auto", "v1", "v2"])
        self.assertIn("report.txt", self.complete("qex verify rep"))
        self.assertNotIn("report.txt", self.complete("qex stamp --tsa rep"))
        self.assertIn("sha384", self.complete("qex digest --hash "))
        self.assertEqual(self.complete("qex request --frame "), ["http", "raw", "socket"])

    def test_OptionsOfEveryCommandAreCompleted(self):
        for command in commands():
            with self.subTest(command=command):
                self.assertEqual(set(self.complete(f"qex {command} --")),
                                 {option for option in options_of(command) if option.startswith("--")})

    def test_FilesOfTheKindMeantComeAlone(self):
        for name in ("a.tsr", "a.token", "roots.pem"):
            self.write(self.path(name), b"")
        os.mkdir(self.path("folder"))
        for line, files in (("qex verify --token ", ["a.token", "a.tsr", "folder/"]),
                            ("qex cert ", ["a.token", "a.tsr", "folder/"]),
                            ("qex verify --ca-file ", ["folder/", "roots.pem"]), ("qex stamp --dir ", ["folder/"]),
                            ("qex verify --request r", ["report.txt", "roots.pem"])):
            with self.subTest(line=line):
                self.assertEqual(sorted(self.complete(line)), files)


@needs("zsh")
class ZshTest(ToolTest):
    def typed(self, keys, expected):
        """Types keys at a zsh that has read the script, until the screen shows the expected text."""
        self.write(self.path("script"), run("completion", "zsh", check=0).stdout)
        child, terminal = pty.fork()
        if child == 0:
            os.chdir(self.folder)
            os.execvpe("zsh", ["zsh", "-f", "-i"], environment(TERM="dumb", HOME=self.folder, COLUMNS="200"))
        try:
            os.write(terminal, b"PS1='> '; autoload -Uz compinit; compinit -u -D; source ./script; echo re''ady\n")
            screen = self.read_until(terminal, b"", b"\nready")
            self.assertIn(b"\nready", screen)
            os.write(terminal, keys.encode())
            return self.read_until(terminal, b"", expected.encode()).decode(errors="replace")
        finally:
            os.close(terminal)
            os.waitpid(child, 0)

    @staticmethod
    def read_until(terminal, screen, expected):
        end = time.monotonic() + 20
        while expected not in screen and time.monotonic() < end:
            if select.select([terminal], [], [], 0.2)[0]:
                screen += os.read(terminal, 65536)
        return screen

    def test_CommandsOptionsAndChoicesAreCompleted(self):
        for name in ("rep.tsr", "roots.pem"):
            self.write(self.path(name), b"")
        for keys, expected in (("qex veri\t", "qex verify "), ("qex cert r\t", "cert rep.tsr"),
                               ("qex verify --ca-file r\t", "--ca-file roots.pem"),
                               ("qex digest --hash sha38\t", "--hash sha384 "), ("qex request --frame so\t", "--frame socket "),
                               ("qex verify --tsa-f\t", "--tsa-fingerprint "),
                               ("qex verify --ess au\t", "--ess auto "), ("qex verify repo\t", "report.txt"),
                               ("qex tac che\t", "tac check "), ("qex help exp\t", "help explain ")):
            with self.subTest(keys=keys):
                self.assertIn(expected, self.typed(keys, expected))


if __name__ == "__main__":
    support.main()
