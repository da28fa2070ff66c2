#!/usr/bin/python3
"""A time-stamp authority for tests and demonstrations, on the loopback interface.

    authority.py [--ready FILE] [--dir FOLDER] [options]

It makes a root and a signer with the openssl command, answers RFC 3161 queries over HTTP
and over the socket framing, and says once it is ready, as one line of JSON on standard
output or in FILE: url, http_port, socket_port, ca, tsa (PEM certificates), dir and pid.
SIGTERM and SIGINT end it; a folder of its own making goes with it.
"""

import argparse
import json
import os
import shutil
import signal
import sys
import tempfile
import threading

sys.dont_write_bytecode = True  # write nothing next to the sources

import tac  # noqa: E402
from server import REPLY_TYPE, HttpService, Listener, SocketService  # noqa: E402
from tsa import FAILURES, Authority, OpensslError, object_identifier  # noqa: E402

DIGESTS = ["md5", "sha1", "sha256", "sha384", "sha512"]


def parse(arguments):
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    place = parser.add_argument_group("place")
    place.add_argument("--dir", help="folder for keys and certificates; what is there is used again")
    place.add_argument("--ready", metavar="FILE", help="write the JSON there, not to standard output")
    place.add_argument("--http-port", type=int, default=0, help="0: any free port")
    place.add_argument("--socket-port", type=int, default=0, help="0: any free port")
    place.add_argument("--end-with-parent", action="store_true",
                       help="end when the process that started this one has ended")
    place.add_argument("--tls", action="store_true", help="serve https; ca.pem is the root")

    keys = parser.add_argument_group("keys, used when the folder has none")
    keys.add_argument("--key", choices=["rsa", "dsa", "ec"], default="rsa")
    keys.add_argument("--rsa-bits", type=int, default=2048, metavar="1024..4096")
    keys.add_argument("--rsa-exponent", type=int, default=65537)
    keys.add_argument("--dsa-bits", type=int, choices=[1024, 2048], default=1024)

    tokens = parser.add_argument_group("tokens")
    tokens.add_argument("--digest", choices=DIGESTS, default="sha256", help="of the signature")
    tokens.add_argument("--digests", type=lambda text: text.split(","), default=DIGESTS,
                        help="accepted imprints, separated by commas")
    tokens.add_argument("--ess", choices=["v1", "v2"], default="v2", help="signing-certificate attribute")
    tokens.add_argument("--ess-digest", choices=["sha256", "sha384", "sha512"], default="sha256",
                        help="of the v2 attribute")
    tokens.add_argument("--policy", type=object_identifier, default="1.2.3.4.1")
    tokens.add_argument("--other-policies", type=object_identifier, nargs="*", default=["1.2.3.4.5.6"])
    tokens.add_argument("--accuracy", default="secs:1, millisecs:500, microsecs:100",
                        help="as openssl ts takes it; empty: none")
    tokens.add_argument("--clock-digits", type=int, choices=range(7), default=0,
                        help="digits of the fraction of a second")
    tokens.add_argument("--ordering", action="store_true")
    tokens.add_argument("--tsa-name", action=argparse.BooleanOptionalAction, default=True)
    tokens.add_argument("--chain", action="store_true", help="the root too is in the token and the attribute")
    tokens.add_argument("--tac", nargs="?", choices=tac.PLACES, const=tac.PLACES[0],
                        help="a time attribute certificate, in the certificate set or the signer attributes")
    tokens.add_argument("--tac-parts", type=lambda text: text.split(","), default=tac.PARTS,
                        help="what it states, separated by commas: " + ", ".join(tac.PARTS))
    tokens.add_argument("--extra-attribute", type=object_identifier, action="append", default=[],
                        help="a signed attribute of this type, with an empty SEQUENCE as its value")

    faults = parser.add_argument_group("refusals and faults")
    faults.add_argument("--reject", choices=sorted(FAILURES), help="refuse every query so")
    faults.add_argument("--stay-open", action="store_true", help="leave it to the client to close the socket")
    faults.add_argument("--status-text", help="text that goes with --reject")
    faults.add_argument("--http-status", type=int, default=200, help="answer every query so")
    faults.add_argument("--content-type", default=REPLY_TYPE, help="of replies")
    faults.add_argument("--truncate", type=int, metavar="N", help="send the first N octets of a reply only")
    faults.add_argument("--delay", type=float, default=0, metavar="SECONDS")
    faults.add_argument("--user", metavar="NAME:PASSWORD", help="ask for basic authentication")

    options = parser.parse_args(arguments)
    if not 1024 <= options.rsa_bits <= 4096:
        parser.error("--rsa-bits: 1024 to 4096")
    for digest in options.digests:
        if digest not in DIGESTS:
            parser.error(f"--digests: {digest} is none of {', '.join(DIGESTS)}")
    for part in options.tac_parts:
        if part not in tac.PARTS:
            parser.error(f"--tac-parts: {part} is none of {', '.join(tac.PARTS)}")
    return options


def announce(text, path):
    """Writes the JSON; a file appears whole or not at all."""
    if path is None:
        print(text, flush=True)
        return
    unfinished = f"{path}.{os.getpid()}"
    with open(unfinished, "w", encoding="utf-8") as file:
        file.write(text + "\n")
    os.replace(unfinished, path)


def main(arguments):
    options = parse(arguments)
    parent = os.getppid()
    ended = threading.Event()
    for number in (signal.SIGTERM, signal.SIGINT):
        signal.signal(number, lambda *_: ended.set())

    own_folder = None if options.dir else tempfile.mkdtemp(prefix="authority-")
    try:
        authority = Authority(options.dir or own_folder, options)
        try:
            http = Listener(options.http_port, HttpService(authority, options))
            framed = Listener(options.socket_port, SocketService(authority, options))
            announce(json.dumps({
                "url": f"{'https' if options.tls else 'http'}://127.0.0.1:{http.port}/",
                "http_port": http.port,
                "socket_port": framed.port,
                "ca": authority.path("ca.pem"),
                "tsa": authority.path("tsa.pem"),
                "dir": authority.folder,
                "pid": os.getpid(),
            }), options.ready)
            while not ended.wait(1.0):
                if options.end_with_parent and os.getppid() != parent:
                    break
            http.close()
            framed.close()
        finally:
            authority.close()
    except (OpensslError, OSError) as error:
        print(f"authority: {error}", file=sys.stderr)
        return 1
    finally:
        if own_folder:
            shutil.rmtree(own_folder, ignore_errors=True)
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
