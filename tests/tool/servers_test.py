"""Servers that mistreat `qex stamp`: the command ends by itself within its limits, with the documented exit
status and one line with the fault, and no file is touched."""

import contextlib
import os
import socket
import ssl
import struct
import threading
import time
import unittest

import support
from support import ToolTest, openssl, run

LONG = "30s"    # a time-out that no answer here comes near
SHORT = "500ms"  # one that is to be reached
GRANTED = bytes.fromhex("30053003020100")  # a reply without a token
OK = b"HTTP/1.1 200 OK\r\nContent-Type: application/timestamp-reply\r\n"
CHUNKED = OK + b"Transfer-Encoding: chunked\r\n\r\n"


class Server:
    """Runs `script(connection)` for every connection, once the first octets have come."""

    def __init__(self, script, wrap=None, greet=True):
        self.script, self.wrap, self.greet = script, wrap, greet
        self.served = 0
        self.listener = socket.create_server(("127.0.0.1", 0))
        self.port = self.listener.getsockname()[1]
        self.accepting = threading.Thread(target=self._accept, daemon=True)
        self.accepting.start()

    def _accept(self):
        while True:
            try:
                connection, _ = self.listener.accept()
            except OSError:
                return
            self.served += 1
            threading.Thread(target=self._serve, args=(connection,), daemon=True).start()

    def _serve(self, connection):
        connection.settimeout(60)
        try:
            with self.wrap(connection) if self.wrap else connection as stream:
                if self.greet:
                    stream.recv(65536)
                self.script(stream)
                stream.shutdown(socket.SHUT_WR)
                while stream.recv(65536):
                    pass
        except OSError:  # the client has disconnected
            pass

    def __enter__(self):
        return self

    def __exit__(self, *_):
        # The number of the descriptor is free for another server only once nothing waits on it.
        self.listener.shutdown(socket.SHUT_RDWR)
        self.accepting.join()
        self.listener.close()


def says(*pieces):
    def script(connection):
        for piece in pieces:
            connection.sendall(piece)
    return script


def without_end(head, piece, pause=0.0):
    """The head, and then the piece again and again until the client disconnects."""
    def script(connection):
        connection.sendall(head)
        while True:
            connection.sendall(piece)
            if pause:
                time.sleep(pause)
    return script


def silent(connection):
    while connection.recv(65536):
        pass


def breaks_off(head):
    """The head, and then a reset in place of the end."""
    def script(connection):
        connection.sendall(head)
        connection.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))
        connection.close()
    return script


def redirect(to):
    return says(f"HTTP/1.1 307 Elsewhere\r\nLocation: {to}\r\nContent-Length: 0\r\n\r\n".encode())


class StampTest(ToolTest):
    def refused(self, how, status, words, timeout=LONG, **more):
        """Stamps twice, without and with older files next to the document: nothing is added, nothing changes."""
        before = {"report.txt": self.read(self.document)}
        for files in ({}, {"report.txt.tsr": b"an older reply", "report.txt.tsq": b"an older request"}):
            for name, data in files.items():
                self.write(self.path(name), data)
            started = time.monotonic()
            done = run("stamp", self.document, *how, "--retry", "0", "--timeout", timeout, "--force", **more)
            self.assert_error(done, status, *words)
            self.assertLess(time.monotonic() - started, 60)
            self.assertLess(len(done.stderr), 1000)
            self.assertEqual({name: self.read(self.path(name)) for name in self.files()}, {**before, **files})
        for name in files:
            os.remove(self.path(name))



class ServersTest(StampTest):
    def over_http(self, cases, timeout=LONG):
        for name, script, status, *words in cases:
            with self.subTest(name), Server(script) as server:
                self.refused(("--tsa", f"http://127.0.0.1:{server.port}/"), status, (str(server.port), *words), timeout)

    def over_a_socket(self, cases, timeout=LONG):
        for name, script, status, *words in cases:
            with self.subTest(name), Server(script) as server:
                self.refused(("--socket", f"127.0.0.1:{server.port}"), status, (str(server.port), *words), timeout)

    def test_TimeIsBoundedAsAWholeNotOnlyBetweenOctets(self):
        self.over_http((
            ("nothing comes", silent, 6, "--timeout"),
            ("a status line in drops", without_end(b"HTTP/1.1 200 ", b"O", 0.05), 6, "--timeout"),
            ("a header in drops", without_end(OK + b"X: ", b"x", 0.05), 6, "--timeout"),
            ("a body in drops", without_end(OK + b"Content-Length: 100000\r\n\r\n", b"x", 0.05), 6, "--timeout"),
            ("interim answers in drops", without_end(b"", b"HTTP/1.1 100 Continue\r\n\r\n", 0.05), 6, "--timeout"),
            ("a chunk length without end", without_end(CHUNKED + b"7;", b"x", 0.05), 6, "--timeout"),
            ("a pause before the end", without_end(OK + b"\r\n" + GRANTED, b"", 0.05), 6, "--timeout"),
        ), SHORT)
        self.over_a_socket((
            ("nothing comes", silent, 6, "--timeout"),
            ("a message in drops", without_end(b"\0\0\x10\0\x05", b"x", 0.05), 6, "--timeout"),
        ), SHORT)

    def test_SizesAreBounded(self):
        block = b"x" * 65536
        lines = b"X-More: and more of it\r\n" * 1000
        self.over_http((
            ("body", without_end(OK + b"\r\n", block), 4, "longer than 1 MiB"),
            ("body in chunks", without_end(CHUNKED, b"10000\r\n" + block + b"\r\n"), 4, "longer than 1 MiB"),
            ("body of an error", without_end(b"HTTP/1.1 500 Oh\r\n\r\n", b"oops\n" * 1000), 6, "HTTP status 500", "oops"),
            ("headers", without_end(OK, lines), 4, "head of the reply is longer than 64 KiB"),
            ("trailers", without_end(CHUNKED + b"7\r\n" + GRANTED + b"\r\n0\r\n", lines), 4, "longer than 64 KiB"),
            ("interim answers", without_end(b"", b"HTTP/1.1 100 Continue\r\n\r\n" * 1000), 4, "longer than 64 KiB"),
            ("header line", without_end(OK + b"X: ", block), 4, "line of the reply's head"),
            ("status line", without_end(b"HTTP/1.1 200 ", block), 4, "line of the reply's head"),
            ("content type", says(b"HTTP/1.1 200 OK\r\nContent-Type: " + b"t" * 60000 + b"\r\n\r\n" + GRANTED), 4,
             "no time-stamp reply", "content type ttt"),
            ("no http at all", without_end(b"", block), 6, "HTTP/0.9"),
        ))
        self.over_a_socket((("a length of 0 for ever", without_end(b"", b"\0" * 65536), 4, "without a flag"),))

    def test_LengthsThatAreNotThose(self):
        def length(text):
            return says(OK + b"Content-Length: " + text + b"\r\n\r\n" + GRANTED)
        self.over_http((
            ("too large", length(b"100"), 6, "93 bytes"),
            ("too small", length(b"3"), 4, "no time-stamp reply"),
            ("none", length(b"0"), 4, "no time-stamp reply"),
            ("negative", length(b"-7"), 6, "Content-Length"),
            ("a word", length(b"seven"), 6, "Content-Length"),
            ("beyond 32 bits", length(b"4294967303"), 6, "4294967296 bytes"),
            ("beyond 64 bits", length(b"99999999999999999999999"), 4, "no token"),
            ("twice", length(b"7\r\nContent-Length: 9"), 6, "2 bytes"),
            ("no chunk length", says(CHUNKED + b"zz\r\n" + GRANTED), 6, "chunked"),
            ("a huge chunk length", says(CHUNKED + b"F" * 17 + b"\r\n" + GRANTED), 6, "chunked"),
            ("a chunk cut off", says(CHUNKED + b"100\r\n" + GRANTED), 6),
            ("no last chunk", says(CHUNKED + b"7\r\n" + GRANTED + b"\r\n"), 6),
        ))

    def test_AnythingButAReply(self):
        self.over_http((
            ("another content type", says(b"HTTP/1.1 200 OK\r\nContent-Type: text/html\r\n\r\n<p>Hello"), 4, "text/html", "Hello"),
            ("no content type", says(b"HTTP/1.1 200 OK\r\n\r\nHello"), 4, "content type none", "Hello"),
            ("a fault", says(b"HTTP/1.1 500 Oh\r\nContent-Length: 4\r\n\r\noops"), 6, "HTTP status 500", "oops"),
            ("no content", says(b"HTTP/1.1 204 None\r\n\r\n"), 6, "HTTP status 204"),
            ("not modified", says(b"HTTP/1.1 304 Same\r\n\r\n"), 6, "HTTP status 304"),
            ("another protocol", says(b"HTTP/1.1 101 Switching\r\nUpgrade: other\r\n\r\n" + GRANTED), 6),
            ("no number", says(b"HTTP/1.1 abc\r\n\r\n"), 6),
            ("a large number", says(b"HTTP/1.1 99999 Oh\r\n\r\n"), 6),
            ("a reply without a head", says(GRANTED), 6, "HTTP/0.9"),
            ("a null octet in the head", says(OK + b"X: a\0b\r\n\r\n" + GRANTED), 6, "Nul byte"),
            ("an encoding nobody asked for", says(OK + b"Content-Encoding: gzip\r\n\r\n\x1f\x8b\x08\0\0\0\0\0\0\3"), 4,
             "no time-stamp reply"),
            ("escape sequences", says(b"HTTP/1.1 500 Oh\r\nContent-Type: \x1b[2J\r\n\r\n\x1b[2J"), 6, "\\x1b[2J"),
            ("endless demands of a password", says(b"HTTP/1.1 401 Who\r\nWWW-Authenticate: Digest realm=x\r\n\r\n"), 6, "--user"),
        ))

    def test_ConnectionsThatBreakOff(self):
        self.over_http((
            ("closed at once", says(), 6),
            ("reset at once", breaks_off(b""), 6),
            ("reset in the head", breaks_off(b"HTTP/1.1 200"), 6),
            ("reset in the body", breaks_off(OK + b"Content-Length: 70\r\n\r\n" + GRANTED), 6),
            ("closed in the head", says(b"HTTP/1.1 200 OK\r\nX"), 4),
        ))
        self.over_a_socket((("closed at once", says(), 6), ("reset", breaks_off(b"\0\0"), 6)))

    def test_RedirectsThatAreNotFollowed(self):
        secret = os.path.join(self.class_folder, "secret")
        self.write(secret, GRANTED)
        self.over_http((
            ("to a file", redirect("file://" + secret), 6, '"file"'),
            ("to ftp", redirect("ftp://127.0.0.1/"), 6, '"ftp"'),
            ("to a script", redirect("javascript:x"), 6, "scheme"),
            ("to nowhere", redirect("http://"), 6, "host"),
            ("without an address", says(b"HTTP/1.1 307 Elsewhere\r\n\r\n"), 6, "HTTP status 307"),
        ))
        with Server(redirect("/again")) as server:
            self.refused(("--tsa", f"http://127.0.0.1:{server.port}/"), 6, ("redirects",))
            self.assertEqual(server.served, 2 * 6)  # the address itself, and five more

    def test_FramesThatLie(self):
        def framed(length, flag=5, message=GRANTED):
            return says(length.to_bytes(4, "big") + bytes([flag]) + message)
        self.over_a_socket((
            ("0", framed(0), 4, "without a flag"),
            ("1: a flag alone", framed(1), 4, "no time-stamp reply"),
            ("shorter", framed(4), 4, "no time-stamp reply"),
            ("longer", framed(256), 6, "12 of 260 octets"),
            ("the most that is read", framed(2 ** 20 - 4), 6, "12 of 1048576 octets"),
            ("more than that", framed(2 ** 20 - 3), 4, "1048577 octets"),
            ("2147483647", framed(2 ** 31 - 1), 4, "1 MiB"),
            ("4294967295", framed(2 ** 32 - 1), 4, "1 MiB"),
            ("a partial reply", framed(8, 3), 4, "flag is 3"),
            ("a poll", framed(9, 1, bytes(8)), 4, "flag is 1"),
            ("a reply of the other side", framed(8, 0), 4, "flag is 0"),
            ("an error", framed(8, 6), 4, "flag is 6"),
            ("half a length", says(b"\0\0"), 6, "2 of 5 octets"),
        ))

    def test_NamesThatAreNotFoundInTime(self):
        env = support.preloaded(support.SLOW_SYSTEM)
        for how in (("--tsa", "http://authority.invalid/"), ("--socket", "authority.invalid:318")):
            with self.subTest(how):
                self.refused(how, 6, ("authority.invalid", "Resolving timed out", "--timeout"), SHORT, env=env)

    def test_SignalsEndItWithoutAFile(self):
        for number in (support.signal.SIGINT, support.signal.SIGTERM):
            asked = threading.Event()

            def script(connection):
                connection.sendall(OK + b"Content-Length: 1000\r\n\r\n" + GRANTED)
                asked.set()
                silent(connection)
            with self.subTest(number), Server(script) as server:
                process = support.subprocess.Popen(
                    [support.QEX, "stamp", self.document, "--tsa", f"http://127.0.0.1:{server.port}/", "--timeout", "60s"],
                    env=support.environment(), stderr=support.subprocess.DEVNULL)
                self.assertTrue(asked.wait(60))
                process.send_signal(number)
                self.assertEqual(process.wait(60), -number)
                self.assertEqual(self.files(), ["report.txt"])


class TlsKeys(StampTest):
    """Certificates of servers: a good one, an expired one, and one of another place."""

    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        cls.good = cls.certificate("good", "IP:127.0.0.1", "10")
        cls.expired = cls.certificate("expired", "IP:127.0.0.1", "-1")
        cls.elsewhere = cls.certificate("elsewhere", "DNS:authority.invalid", "10")

    @classmethod
    def certificate(cls, name, place, days):
        """A certificate that is its own root, with its key in the same file."""
        key, extensions = (os.path.join(cls.class_folder, name + end) for end in (".key", ".cnf"))
        cls.write(extensions, f"[req]\ndistinguished_name=name\n[name]\n[server]\nsubjectAltName={place}\n".encode())
        request = openssl("req", "-new", "-newkey", "rsa:2048", "-nodes", "-config", extensions, "-subj", "/CN=server",
                          "-keyout", key)
        made = openssl("x509", "-req", "-signkey", key, "-days", days, "-extfile", extensions, "-extensions", "server",
                       data=request)
        path = os.path.join(cls.class_folder, name + ".pem")
        cls.write(path, made + cls.read(key))
        return path

    @staticmethod
    def tls(certificate, script, clients=None):
        """`clients` is the root of the accepted clients; None accepts everybody."""
        context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
        context.load_cert_chain(certificate)
        if clients is not None:
            context.verify_mode = ssl.CERT_REQUIRED
            context.load_verify_locations(clients)
        return Server(script, lambda connection: context.wrap_socket(connection, server_side=True))


class TlsTest(TlsKeys):
    """Certificates that prove nothing, and handshakes that lead nowhere."""

    def over_tls(self, server, status, *words, options=(), timeout=LONG):
        with server:
            self.refused(("--tsa", f"https://127.0.0.1:{server.port}/", *options), status, (str(server.port), *words), timeout)

    def test_CertificatesThatDoNotHold(self):
        reply = says(OK + b"\r\n" + GRANTED)
        for name, certificate, root, words in (
                ("by a root that nobody knows", self.good, None, ("certificate", "--cacert")),
                ("by another root", self.good, self.elsewhere, ("certificate", "--cacert")),
                ("of another place", self.elsewhere, self.elsewhere, ("127.0.0.1", "subject name")),
                ("expired", self.expired, self.expired, ("expired",)),
        ):
            with self.subTest(name):
                self.over_tls(self.tls(certificate, reply), 6, *words, options=("--cacert", root) if root else ())
        # The certificate is the cause of the failure above: with a good one the exchange succeeds.
        self.over_tls(self.tls(self.good, reply), 4, "no token", options=("--cacert", self.good))

    def test_AServerThatAsksForACertificate(self):
        combined = self.certificate("client", "DNS:client.invalid", "10")
        key = combined[:-len("pem")] + "key"
        alone = combined[:-len("pem")] + "crt"
        self.write(alone, openssl("x509", "-in", combined))
        self.assertNotIn(b"PRIVATE KEY", self.read(alone))
        for name, options, status, words in (
                ("none", (), 6, ()),
                ("one that it does not know", ("--client-cert", self.elsewhere), 6, ()),
                ("no key", ("--client-cert", alone), 4, ("--client-key",)),
                ("the key of another", ("--client-cert", alone, "--client-key", self.elsewhere), 4, ("--client-key",)),
                ("both in one file", ("--client-cert", combined), 4, ("no token",)),
                ("certificate and key", ("--client-cert", alone, "--client-key", key), 4, ("no token",))):
            with self.subTest(name):
                self.over_tls(self.tls(self.good, says(OK + b"\r\n" + GRANTED), combined), status, *words,
                              options=("--cacert", self.good, *options))

    def test_HandshakesThatLeadNowhere(self):
        self.over_tls(Server(silent), 6, "--timeout", timeout=SHORT)
        self.over_tls(Server(silent, greet=False), 6, "--timeout", timeout=SHORT)
        self.over_tls(Server(without_end(b"", b"\x16\x03\x03\0\1\0", 0.05)), 6, timeout=SHORT)
        self.over_tls(Server(says(b"HTTP/1.1 400 Bad Request\r\n\r\n")), 6, "speak https")
        self.over_tls(Server(says(b"\x15\x03\x01\0\2\2\x28")), 6, "speak https")  # a fatal alert
        self.over_tls(Server(breaks_off(b"\x16\x03")), 6)
        self.over_tls(Server(says()), 6)

    def test_AnEndThatIsCutOff(self):
        for name, script, status in (
                ("in the head", breaks_off(b"HTTP/1.1 200"), 6),
                ("in the body", breaks_off(OK + b"Content-Length: 70\r\n\r\n" + GRANTED), 6),
                ("in drops", without_end(OK + b"\r\n", b"x", 0.05), 6)):
            with self.subTest(name):
                self.over_tls(self.tls(self.good, script), status, options=("--cacert", self.good), timeout="1500ms")

    def test_HttpsIsSpokenToAnHttpsPortOnly(self):
        with self.tls(self.good, says()) as server:
            self.refused(("--tsa", f"http://127.0.0.1:{server.port}/"), 6, (str(server.port),))

    def test_NoRedirectLeadsAwayFromTls(self):
        # Only the first address was checked: from http over https the redirects led back to http.
        for steps in ((), ("http",), ("http", "https"), ("https",)):
            with self.subTest(steps), Server(says(OK + b"\r\n" + GRANTED)) as last:
                to = f"http://127.0.0.1:{last.port}/"
                with contextlib.ExitStack() as servers:
                    for step in ("https", *steps):
                        script = redirect(to)
                        server = servers.enter_context(self.tls(self.good, script) if step == "https" else Server(script))
                        to = f"{step}://127.0.0.1:{server.port}/"
                    self.refused(("--tsa", to, "--cacert", self.good), 6, (to, '"http"', "from https to http"))
                self.assertEqual(last.served, 0)
        # To https from http, and on from there, is followed.
        with self.tls(self.good, says(OK + b"\r\n" + GRANTED)) as last, \
                self.tls(self.good, redirect(f"https://127.0.0.1:{last.port}/")) as middle, \
                Server(redirect(f"https://127.0.0.1:{middle.port}/")) as first:
            self.refused(("--tsa", f"http://127.0.0.1:{first.port}/", "--cacert", self.good), 4, ("no token",))
            self.assertEqual((middle.served, last.served), (2, 2))

    def test_FilesThatHoldNoPem(self):
        empty = os.path.join(self.class_folder, "empty")
        self.write(empty, b"")
        url = ("--tsa", "https://127.0.0.1:1/")
        for option in ("--cacert", "--client-cert"):
            for path, status, words in ((self.document, 4, (self.document, "no PEM")), (empty, 4, (empty, "no PEM")),
                                        ("/dev/zero", 4, ("/dev/zero", "16 MiB")), (self.class_folder, 3, (self.class_folder,)),
                                        ("/no/such", 3, ("/no/such",))):
                with self.subTest(option=option, path=path):
                    self.refused((*url, option, path), status, words)
        self.refused((*url, "--client-cert", self.good, "--client-key", "/dev/zero"), 4, ("16 MiB",))


if __name__ == "__main__":
    support.main()
