"""The two transports of the test authority: HTTP, and the framing over a bare socket.

Both serve one request per connection, on the loopback interface, with a time-out, and read at most
MAX_MESSAGE octets of message. HTTP is parsed here and not by http.server, because a Content-Length with
blanks between its digits ("1 1" for 101 to 109 octets) must be understood: the length is then that of the DER
message itself.
"""

import base64
import hmac
import socket
import ssl
import sys
import threading
import time

from tsa import MAX_MESSAGE, message_length

MAX_HEAD = 16 * 1024
TIMEOUT = 20
QUERY_TYPE = "application/timestamp-query"
REPLY_TYPE = "application/timestamp-reply"
SOCKET_QUERY_FLAG = 0
SOCKET_REPLY_FLAG = 5
REASONS = {200: "OK", 400: "Bad Request", 401: "Unauthorized", 405: "Method Not Allowed",
           413: "Content Too Large", 415: "Unsupported Media Type", 431: "Header Too Large",
           500: "Internal Server Error", 501: "Not Implemented", 503: "Service Unavailable"}


class Refused(Exception):
    """A request that is answered with an HTTP status other than 200."""

    def __init__(self, status, text):
        super().__init__(text)
        self.status = status


class Listener:
    """Accepts connections on a loopback port and hands each to a thread of its own."""

    def __init__(self, port, serve, slots=32):
        self._socket = socket.socket(socket.AF_INET, socket.SOCK_STREAM)
        self._socket.setsockopt(socket.SOL_SOCKET, socket.SO_REUSEADDR, 1)
        self._socket.bind(("127.0.0.1", port))
        self._socket.listen(64)
        self.port = self._socket.getsockname()[1]
        self._serve = serve
        self._slots = threading.BoundedSemaphore(slots)
        threading.Thread(target=self._accept, daemon=True).start()

    def _accept(self):
        while True:
            try:
                connection, _ = self._socket.accept()
            except OSError:
                return
            self._slots.acquire()
            threading.Thread(target=self._run, args=(connection,), daemon=True).start()

    def _run(self, connection):
        try:
            with connection:
                connection.settimeout(TIMEOUT)
                self._serve(connection)
        except (OSError, ValueError) as error:
            print(f"authority: connection ended: {error}", file=sys.stderr, flush=True)
        finally:
            self._slots.release()

    def close(self):
        self._socket.close()


class Reader:
    """Reads a connection up to lengths and marks, under one deadline for the request."""

    def __init__(self, connection):
        self._connection = connection
        self._deadline = time.monotonic() + TIMEOUT
        self._held = b""

    def _more(self):
        left = self._deadline - time.monotonic()
        if left <= 0:
            raise OSError("the request took too long")
        self._connection.settimeout(left)
        data = self._connection.recv(65536)
        if not data:
            raise OSError("the request ended early")
        self._held += data

    def exactly(self, count):
        while len(self._held) < count:
            self._more()
        taken, self._held = self._held[:count], self._held[count:]
        return taken

    def head(self):
        """The lines up to the blank one, which may end in LF alone."""
        while True:
            ends = [(at + len(mark)) for mark in (b"\r\n\r\n", b"\n\n")
                    if (at := self._held.find(mark)) >= 0]
            if ends:
                return self.exactly(min(ends)).decode("latin-1").splitlines()
            if len(self._held) > MAX_HEAD:
                raise Refused(431, "the head is too long")
            self._more()

    def message(self):
        """One DER element, as long as it says itself."""
        while (total := message_length(self._held[:8])) is None:
            self._more()
        return self.exactly(total)


class HttpService:
    """Answers POST of a time-stamp query on any path."""

    def __init__(self, authority, options):
        self._authority = authority
        self._options = options
        self._tls = None
        if options.tls:
            self._tls = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
            self._tls.load_cert_chain(authority.path("tls.pem"), authority.path("tls.key"))

    def __call__(self, connection):
        if self._tls is None:
            self._exchange(connection)
        else:
            with self._tls.wrap_socket(connection, server_side=True) as encrypted:
                self._exchange(encrypted)

    def _exchange(self, connection):
        reader = Reader(connection)
        version = "HTTP/1.0"
        try:
            lines = reader.head()
            words = lines[0].split()
            if len(words) != 3 or not words[2].startswith("HTTP/1."):
                raise Refused(400, "not an HTTP request")
            version = words[2]
            body = self._body(connection, reader, words[0], headers_of(lines[1:]))
            if self._options.delay:
                time.sleep(self._options.delay)
            if self._options.http_status != 200:
                raise Refused(self._options.http_status, "refused as the authority was told to")
            self._send(connection, version, 200, self._options.content_type, self._authority.answer(body))
        except Refused as refused:
            self._send(connection, version, refused.status, "text/plain", f"{refused}\n".encode())

    def _body(self, connection, reader, method, headers):
        if method != "POST":
            raise Refused(405, "only POST is served")
        if self._options.user and not self._authorized(headers.get("authorization", "")):
            raise Refused(401, "user and password are needed")
        if headers.get("content-type", "").split(";")[0].strip().lower() != QUERY_TYPE:
            raise Refused(415, f"the content type is not {QUERY_TYPE}")
        if "transfer-encoding" in headers:
            raise Refused(501, "no transfer encoding is served")
        announced = headers.get("content-length", "")
        exact = announced.isascii() and announced.isdigit()
        if exact and int(announced) > MAX_MESSAGE:
            raise Refused(413, "the query is too long")
        if headers.get("expect", "").lower() == "100-continue":
            connection.sendall(b"HTTP/1.1 100 Continue\r\n\r\n")
        if exact:
            return reader.exactly(int(announced))
        try:
            return reader.message()
        except ValueError as error:
            raise Refused(400, f"no time-stamp query: {error}") from error

    def _authorized(self, given):
        wanted = "Basic " + base64.b64encode(self._options.user.encode()).decode()
        return hmac.compare_digest(given.encode("latin-1"), wanted.encode("latin-1"))

    def _send(self, connection, version, status, content_type, body):
        head = [f"{version} {status} {REASONS.get(status, 'Status')}",
                f"Content-Type: {content_type}",
                f"Content-Length: {len(body)}",
                "Connection: close"]
        if status == 401:
            head.append('WWW-Authenticate: Basic realm="time-stamps"')
        if status == 200 and self._options.truncate is not None:
            body = body[:self._options.truncate]
        connection.sendall("\r\n".join(head).encode("latin-1") + b"\r\n\r\n" + body)


def headers_of(lines):
    """Header fields by lower-case name; of several of one name the last one counts."""
    fields = {}
    for line in lines:
        name, colon, value = line.partition(":")
        if colon:
            fields[name.strip().lower()] = value.strip()
    return fields


class SocketService:
    """Length (4 octets, of the rest), flag (1 octet), message; and the same back."""

    def __init__(self, authority, options):
        self._authority = authority
        self._options = options

    def __call__(self, connection):
        reader = Reader(connection)
        length = int.from_bytes(reader.exactly(4), "big")
        if not 1 <= length <= MAX_MESSAGE + 1:
            raise ValueError(f"a frame of {length} octets")
        frame = reader.exactly(length)
        if frame[0] != SOCKET_QUERY_FLAG:
            raise ValueError(f"a frame with flag {frame[0]}")
        if self._options.delay:
            time.sleep(self._options.delay)
        reply = self._authority.answer(frame[1:])
        framed = (len(reply) + 1).to_bytes(4, "big") + bytes([SOCKET_REPLY_FLAG]) + reply
        if self._options.truncate is not None:
            framed = framed[:5 + self._options.truncate]
        connection.sendall(framed)
        if self._options.stay_open:
            connection.recv(1)  # until the client closes
