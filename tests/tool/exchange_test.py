"""`qex stamp`: the authorities that it asks, the replies that it accepts, and its messages when an exchange
fails."""

import email.utils
import os
import pty
import ssl
import subprocess
import time
import unittest

import support
from outputs_test import Relay
from servers_test import OK, Server, TlsKeys, says
from support import ToolTest, environment, openssl, run, run_json, verdicts

HTML = b"HTTP/1.1 200 OK\r\nContent-Type: text/html\r\n\r\n<h1>Welcome</h1>"


def answer(status, *lines, body=b""):
    head = "\r\n".join((f"HTTP/1.1 {status}", *lines, f"Content-Length: {len(body)}", "Connection: close"))
    return head.encode() + b"\r\n\r\n" + body


def url(server):
    return f"http://127.0.0.1:{server.port}/"


class ExchangeTest(ToolTest):
    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        cls.good = support.Authority(os.path.join(cls.class_folder, "keys"))
        cls.addClassCleanup(cls.good.__exit__)
        stamped = os.path.join(cls.class_folder, "stamped")
        cls.write(stamped, b"another file\n")
        run("stamp", stamped, "--tsa", cls.good.url, check=0)
        cls.other_reply = cls.read(stamped + ".tsr")
        run("reply", stamped + ".tsr", "--token", "-o", stamped + ".token", check=0)
        cls.token = cls.read(stamped + ".token")

    def stamp(self, *urls, **more):
        options = [word for one in urls for word in ("--tsa", one if isinstance(one, str) else url(one))]
        return run("stamp", self.document, *options, "--force", *more.pop("options", ("--retry", "0")), **more)

    def failing(self):
        """Servers that give no good reply, each in its own way."""
        with self.authority("--reject", "badAlg") as refusing:
            yield "refusal", refusing.url, 5
        for name, reply, status in (
                ("another's reply", OK + b"\r\n" + self.other_reply, 1), ("html", HTML, 4), ("empty", OK + b"\r\n", 4),
                ("octets", OK + b"\r\nhello", 4), ("half a reply", OK + b"\r\n" + self.other_reply[:100], 4),
                ("granted without a token", OK + b"\r\n" + bytes.fromhex("30053003020100"), 4),
                ("a token alone", OK + b"\r\n" + self.token, 4), ("no such path", answer("404 Not Found"), 6),
                ("a fault", answer("500 Oh"), 6), ("a login", answer("401 Who"), 6)):
            with Server(says(reply)) as server:
                yield name, url(server), status
        yield "nobody", "http://127.0.0.1:1/", 6

    # in turn

    def test_TheNextAuthorityIsAskedAfterEveryFailure(self):
        for name, bad, status in self.failing():
            with self.subTest(name):
                self.assertEqual(self.stamp(bad).returncode, status)
                done = self.stamp(bad, self.good.url, check=0)
                self.assertEqual(done.stderr, b"")
                self.assertRegex(done.stdout.decode(), f"\nnote  authority +{self.good.url} answered\n")
                self.assertNotIn(bad, done.stdout.decode())
                run("verify", self.document, "--tsa-cert", self.good.tsa, check=0)

    def test_TheDocumentSaysWhoAnsweredAndWhoDidNot(self):
        with Server(says(answer("404 Not Found"))) as missing, self.authority("--reject", "badAlg", "--status-text", "no") as refusing:
            document = run_json("stamp", self.document, "--tsa", url(missing), "--tsa", refusing.url, "--tsa", self.good.url, check=0)
            self.assertEqual((document["authority"], document["http_status"]), (self.good.url, 200))
            first, second = document["failed_attempts"]
            self.assertEqual((first["authority"], first["exit"], first["http_status"]), (url(missing), 6, 404))
            self.assertEqual((second["authority"], second["exit"]), (refusing.url, 5))
            document = run_json("stamp", self.document, "--tsa", refusing.url, "--tsa", url(missing), "--retry", "0", "--force", check=6)
            self.assertEqual((document["authority"], document["http_status"]), (url(missing), 404))
            self.assertIn("404", document["error"])
            self.assertEqual([one["exit"] for one in document["failed_attempts"]], [5, 6])
            self.assertNotIn("token", document)

    def test_TheLastFailureIsReportedAndAllOfThemWhenVerbose(self):
        with Server(says(HTML)) as html, Server(says(answer("404 Not Found"))) as missing:
            done = self.stamp(html, missing)
            self.assert_error(done, 6, "404")
            self.assertNotIn(url(html), done.stderr.decode())
            text = self.stamp(html, missing, options=("--retry", "0", "-v")).stderr.decode()
            self.assertEqual(text.count("qex: error: "), 2)
            self.assertIn(url(html), text)

    def test_AFinalFailureIsNotRetried(self):
        for reply, times in ((HTML, 1), (answer("404 Not Found"), 1), (answer("503 Busy"), 3), (answer("429 Slowly"), 3)):
            with self.subTest(reply), Server(says(reply)) as server:
                self.stamp(server, options=("--retry", "2"))
                self.assertEqual(server.served, times)

    def test_TheCallersOwnFaultEndsItAtOnce(self):
        with Server(says(HTML)) as server:
            for more, status in ((("--tsa", "nonsense"), 2), (("--timeout", "soon"), 2), (("--cacert", self.document), 4)):
                self.assertEqual(run("stamp", self.document, "--tsa", url(server), *more).returncode, status)
            self.assertEqual(server.served, 0)

    def waits(self, value, *options):
        """How long it takes until an authority is asked again that answered first with Retry-After."""
        asked = []

        def busy_at_first():
            asked.append(time.monotonic())
            return answer("503 Busy", f"Retry-After: {value()}") if len(asked) == 1 else None
        with Relay(self.good, busy_at_first) as server:
            self.stamp(server, options=("--retry", "1", *options), check=0)
        return asked[1] - asked[0]

    def test_RetryAfterIsHeeded(self):
        self.assertGreater(self.waits(lambda: 2), 1.9)
        self.assertGreater(self.waits(lambda: email.utils.formatdate(time.time() + 4, usegmt=True)), 1.9)
        self.assertLess(self.waits(lambda: 0), 1.5)

    def test_RetryAfterIsBounded(self):
        started = time.monotonic()
        waited = self.waits(lambda: 3600, "--timeout", "2s")
        self.assertGreater(waited, 1.9)
        self.assertLess(time.monotonic() - started, 20)

    # valid replies

    def test_AGoodReplyUnderAnotherContentTypeIsTakenWithANote(self):
        for content_type in ("application/octet-stream", "application/timestamp-response", "binary/octet-stream"):
            with self.subTest(content_type), self.authority("--content-type", content_type) as authority:
                done = self.stamp(authority.url, check=0)
                self.assertRegex(done.stdout.decode(), f"\nnote  transport +the reply came as content type {content_type}\n")
                document = run_json("stamp", self.document, "--tsa", authority.url, "--force", check=0)
                self.assertEqual(verdicts(document)["transport"], "note")
        self.assertNotIn("note  transport", self.stamp(self.good.url, check=0).stdout.decode())

        with Relay(self.good, head=b"HTTP/1.1 200 OK\r\n") as server:
            done = self.stamp(server, check=0)
            self.assertRegex(done.stdout.decode(), "\nnote  transport +the reply came as content type none\n")

    def test_AnythingButAReplyIsRefusedAndDescribed(self):
        for reply, words in (
                (OK + b"\r\n", ("an empty body", "says nothing")), (OK + b"\r\n" + self.token, ("a bare token", "status")),
                (HTML, ("text/html", '"<h1>Welcome</h1>"')),
                (b"HTTP/1.1 200 OK\r\nContent-Type: application/json\r\n\r\n{\"error\": \"key\"}", ("application/json", "error")),
                (b"HTTP/1.1 200 OK\r\nContent-Type: text/html\r\n\r\n" + self.other_reply, ("text/html",)),
                (b"HTTP/1.1 200 OK\r\n\r\nhello", ("content type none", "hello")),
                (b"HTTP/1.1 200 OK\r\nContent-Type: application/octet-stream\r\n\r\n" + self.token, ("a bare token",))):
            with self.subTest(reply[:80]), Server(says(reply)) as server:
                self.assert_error(self.stamp(server), 4, url(server), "no time-stamp reply", *words)
        with Server(says(OK + b"\r\n" + run("request", self.document, check=0).stdout)) as server:
            self.assert_error(self.stamp(server), 4, "a request", "sends back")

    def test_AnAuthorityThatHasNotDecidedYetIsNamedAsSuch(self):
        with Server(says(OK + b"\r\n" + bytes.fromhex("30053003020103"))) as server:
            self.assert_error(self.stamp(server), 5, "waiting", "ask again later")

    # digest

    def test_ADigestReplacesTheFile(self):
        digest = openssl("dgst", "-sha384", "-binary", self.document).hex()
        done = run("stamp", "--digest", "sha384:" + digest, "--tsa", self.good.url, "-o", self.path("out.tsr"), check=0)
        self.assertIn(b"pass  imprint", done.stdout)
        openssl("ts", "-verify", "-in", self.path("out.tsr"), "-data", self.document, "-CAfile", self.good.ca)
        for words in ((self.document, "--digest", "sha384:" + digest), ("--digest", digest, "-o", "x"), (),
                      ("--digest", "sha256:" + digest, "-o", "x"), ("--digest", "sha384:" + digest),
                      ("--digest", "sha384:" + digest, "-o", self.folder), ("--digest", "sha1x:" + digest, "-o", "x")):
            with self.subTest(words):
                self.assert_error(run("stamp", *words, "--tsa", self.good.url), 2)

    # causes

    def hint(self, reply, *words, status=6):
        with Server(says(reply)) as server:
            self.assert_error(self.stamp(server), status, *words)

    def test_HintsOfStatusesFollowTheCause(self):
        for status, words in (("400 Bad", ("--hash",)), ("401 Who", ("--user-file",)), ("403 No", ("--user-file",)),
                              ("404 Lost", ("path",)), ("407 Proxy", ("proxy asks who you are", "http_proxy")),
                              ("413 Large", ("too large",)), ("415 Type", ("does not take time-stamp requests",)),
                              ("429 Slowly", ("no more requests",)), ("500 Oh", ("fault of its own",)),
                              ("503 Busy", ("overloaded",)), ("302 Away", ("has moved",)), ("418 Tea", ("HTTP status 418",))):
            with self.subTest(status):
                self.hint(answer(status), "HTTP status " + status[:3], *words)

    def test_AnAuthorityThatAsksToBeLeftAloneIsQuoted(self):
        for status in ("429 Slowly", "503 Busy"):
            self.hint(answer(status, "Retry-After: 120"), "120 s", "after that time")

    def test_AServerThatWantsACertificateThroughItsOwnProxyIsUnderstood(self):
        page = b"<html><head><title>400 No required SSL certificate was sent</title></head></html>"
        self.hint(answer("400 Bad Request", "Content-Type: text/html", body=page), "--client-cert")

    def proxied(self, target, proxy, **more):
        env = environment(**{"no_proxy": "", target.split(":")[0] + "_proxy": proxy})
        return run("stamp", self.document, "--tsa", target, "--retry", "0", env=env, **more)

    def test_AProxyThatIsDownIsNamedAsSuch(self):
        for target in ("http://authority.invalid/", "https://authority.invalid/"):
            self.assert_error(self.proxied(target, "http://127.0.0.1:1"), 6, "no proxy answers", "_proxy")
            self.assert_error(self.proxied(target, "http://proxy.invalid:1"), 6, "proxy that the environment names")
        # Without a proxy the check is on the authority.
        done = self.stamp("http://127.0.0.1:1/")
        self.assert_error(done, 6, "is the authority running?")
        env = environment(http_proxy="http://127.0.0.1:2", no_proxy="127.0.0.1")
        self.assert_error(run("stamp", self.document, "--tsa", "http://127.0.0.1:1/", "--retry", "0", env=env), 6,
                          "is the authority running?")

    def test_AProxyThatWantsALoginIsNamedAsSuch(self):
        denied = answer("407 Who", "Proxy-Authenticate: Basic realm=x")
        for scheme in ("http", "https"):
            with self.subTest(scheme), Server(says(denied)) as proxy:
                done = self.proxied(scheme + "://authority.invalid/", f"http://127.0.0.1:{proxy.port}")
                self.assert_error(done, 6, "the proxy asks who you are")

    # libcurl

    def test_ChecksDoNotNeedLibcurl(self):
        self.stamp(self.good.url, check=0)
        listing = subprocess.run(["readelf", "-d", support.QEX], capture_output=True, check=True).stdout.decode()
        self.assertIn("NEEDED", listing)
        self.assertNotIn("curl", listing)
        os.mkdir(self.path("lib"))
        self.write(self.path("lib/libcurl.so.4"), b"no library")
        env = environment(LD_LIBRARY_PATH=self.path("lib"))
        run("verify", self.document, "--tsa-cert", self.good.tsa, env=env, check=0)
        self.assert_error(self.stamp(self.good.url, env=env), 6, "libcurl.so.4", "install it")
        self.assert_error(run("stamp", self.document, "--socket", self.good.socket, "--force", env=env), 6, "libcurl.so.4")
        run("version", env=env, check=0)
        self.assertRegex(run_json("version", check=0)["libcurl"], "^libcurl/[78]")


class LoginTest(ToolTest):
    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        cls.asking = support.Authority(os.path.join(cls.class_folder, "keys"), "--user", "me:se:cret")
        cls.addClassCleanup(cls.asking.__exit__)

    def stamp(self, *options, **more):
        return run("stamp", self.document, "--tsa", self.asking.url, "--retry", "0", "--force", *options, **more)

    def user_file(self, data, mode=0o600):
        self.write(self.path("login"), data)
        os.chmod(self.path("login"), mode)
        return ("--user-file", self.path("login"))

    def test_ALoginIsRequired(self):
        self.assert_error(self.stamp(env=environment(HOME=self.folder)), 6, "HTTP status 401", "--user-file")

    def test_APasswordComesFromAFile(self):
        for data in (b"me:se:cret", b"me:se:cret\n", b"me:se:cret\r\nmore\n"):
            self.stamp(*self.user_file(data), check=0)
        self.assert_error(self.stamp(*self.user_file(b"me:other")), 6, "401")
        self.stamp("--user-file", "-", stdin=b"me:se:cret\n", check=0)

    def test_AFileThatOthersMayReadIsRefused(self):
        for mode in (0o644, 0o640, 0o604, 0o620):
            done = self.stamp(*self.user_file(b"me:se:cret", mode))
            self.assert_error(done, 3, "login", "chmod 600")
            self.assertNotIn(b"cret", done.stderr)

    def test_AFileWithoutALoginIsRefused(self):
        for data in (b"", b"me\n", b"\nme:se:cret\n"):
            self.assert_error(self.stamp(*self.user_file(data)), 4, "login", "NAME:PASSWORD")
        self.assert_error(self.stamp("--user-file", self.path("missing")), 3, "missing")
        self.assert_error(self.stamp("--user", "me:se:cret", *self.user_file(b"me:se:cret")), 2, "exclude")

    def test_APasswordComesFromTheEnvironment(self):
        self.stamp(env=environment(QEX_TSA_USER="me:se:cret"), check=0)
        self.stamp("--user", "me:se:cret", env=environment(QEX_TSA_USER="me:other"), check=0)
        self.assert_error(self.stamp(env=environment(QEX_TSA_USER="me")), 2, "password is missing", "--user-file")

    def test_APasswordComesFromNetrc(self):
        self.write(self.path(".netrc"), b"machine 127.0.0.1 login me password se:cret\n")
        os.chmod(self.path(".netrc"), 0o600)
        self.stamp(env=environment(HOME=self.folder), check=0)
        self.stamp("--user", "me:se:cret", env=environment(HOME=self.folder), check=0)

    def test_APasswordIsAskedForOnTheTerminal(self):
        process, terminal = pty.fork()
        if process == 0:
            os.execve(support.QEX, ["qex", "stamp", self.document, "--tsa", self.asking.url, "--user", "me"], environment())
        shown = b""
        while b"password of" not in shown:
            shown += os.read(terminal, 1000)
        os.write(terminal, b"se:cret\n")
        try:
            while True:
                shown += os.read(terminal, 1000)
        except OSError:  # the other end is closed
            pass
        self.assertEqual(os.waitstatus_to_exitcode(os.waitpid(process, 0)[1]), 0)
        self.assertNotIn(b"cret", shown)

    def test_NoListOfProcessesShowsAPassword(self):
        lines = []

        def look(process):
            with open(f"/proc/{process.pid}/cmdline", "rb") as file:
                lines.append(file.read())
        with support.Authority(os.path.join(self.class_folder, "keys")) as plain:
            for words in (("--user", "me:se:cret"), ("--user=me:se:cret",), ()):
                with Relay(plain, lambda: look(process)) as server:
                    address = server.url if words else server.url.replace("//", "//me:se:cret@")
                    process = subprocess.Popen([support.QEX, "stamp", self.document, "--tsa", address, "--force", *words],
                                               env=environment(), stdout=subprocess.DEVNULL)
                    self.assertEqual(process.wait(60), 0)
        self.assertEqual(len(lines), 3)
        for line in lines:
            self.assertNotIn(b"cret", line)
            self.assertIn(b"me:*", line)


class TlsCauseTest(TlsKeys):
    """Server certificates again, for the step that each hint names."""

    def hint(self, certificate, words, *options, clients=None):
        with self.tls(certificate, says(HTML), clients) as server:
            done = run("stamp", self.document, "--tsa", f"https://127.0.0.1:{server.port}/", "--retry", "0", *options)
        self.assertEqual(done.returncode, 6)
        self.assertIn(words, done.stderr.decode())

    def test_HintsOfCertificatesFollowTheCause(self):
        self.hint(self.expired, "has expired: its operator", "--cacert", self.expired)
        self.hint(self.elsewhere, "the certificate of another host", "--cacert", self.elsewhere)
        self.hint(self.good, "--cacert")

    def test_AServerThatWantsACertificateIsNamedAsSuch(self):
        for version in (ssl.TLSVersion.TLSv1_2, ssl.TLSVersion.TLSv1_3):
            context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
            context.load_cert_chain(self.good)
            context.verify_mode = ssl.CERT_REQUIRED
            context.load_verify_locations(self.good)
            context.minimum_version = context.maximum_version = version

            def wrap(connection, context=context):
                wrapped = context.wrap_socket(connection, server_side=True, do_handshake_on_connect=False)
                try:
                    wrapped.do_handshake()
                except ssl.SSLError:
                    time.sleep(1)  # the alert is read before the connection is reset
                    raise
                return wrapped
            with Server(says(HTML), wrap) as server:
                done = run("stamp", self.document, "--tsa", f"https://127.0.0.1:{server.port}/", "--retry", "0", "--cacert", self.good)
            self.assert_error(done, 6, "--client-cert")


    def test_AnInvalidKeyFileOfTheCallerEndsItAtOnce(self):
        alone = self.path("alone.pem")
        self.write(alone, openssl("x509", "-in", self.good))
        with self.tls(self.good, says(HTML)) as first, Server(says(HTML)) as second:
            done = run("stamp", self.document, "--tsa", f"https://127.0.0.1:{first.port}/", "--tsa", url(second),
                       "--cacert", self.good, "--client-cert", alone)
            self.assert_error(done, 4, "--client-key")
            self.assertEqual(second.served, 0)


class EmptyValueTest(ToolTest):
    def test_AnEmptyValueIsWrongUsage(self):
        stamp = ("stamp", self.document, "--tsa", "http://127.0.0.1:1/")
        for command, options in (
                (stamp, ("--tsa", "--hash", "--policy", "-o", "--cacert", "--user", "--user-file", "--client-cert", "--timeout",
                         "--socket", "--digest", "--tsa-cert", "--tsa-fingerprint", "--retry", "--color")),
                (("request", self.document), ("--digest", "--hash", "--policy", "--nonce", "--frame", "-o")),
                (("reply", self.document), ("--frame", "-o")), (("cert", self.document), ("-o",)),
                (("tac", "get", self.document), ("--tac", "-o", "--ess")), (("rewrite", self.document, "--id-data"), ("-o",)),
                (("verify", self.document), ("--token", "--request", "--digest", "--nonce", "--policy", "--tsa-cert",
                                             "--tsa-fingerprint", "--ess")),
                (("digest", self.document), ("--hash", "--check"))):
            for option in options:
                for words in ((option, ""), *(((option + "=",),) if option.startswith("--") else ())):
                    with self.subTest(command=command[0], words=words):
                        self.assert_error(run(*command, *words), 2)
        self.assert_error(run(*stamp, "--policy", ""), 2, "--policy: the value is empty")
        self.assert_error(run("stamp", "--policy=", self.document, "--tsa", "http://127.0.0.1:1/"), 2, "--policy: the value is empty")
        self.assertEqual(self.files(), ["report.txt"])

    def test_AnEmptyFileNameIsWrongUsage(self):
        for command in (("stamp", "", "--tsa", "http://127.0.0.1:1/"), ("request", ""), ("reply", ""), ("cert", ""),
                        ("tac", "get", ""), ("rewrite", "", "--id-data"), ("verify", ""), ("show", ""), ("digest", "")):
            with self.subTest(command):
                self.assert_error(run(*command), 2, "empty")


if __name__ == "__main__":
    support.main()
