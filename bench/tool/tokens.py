"""Stamped files for scripts/bench-tool.sh: tokens by the openssl command under a chain of three certificates.

usage: tokens.py FOLDER COUNT      FOLDER/many holds the files, FOLDER/list names them, FOLDER/jobs has a job for each

There are a hundred different tokens; the other files are copies, which take as long to verify.
"""

import base64
import json
import os
import shutil
import subprocess
import sys

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..", "tests", "tool"))
from pki import Pki, openssl

DIFFERENT = 100


def main(folder, count):
    os.makedirs(os.path.join(folder, "many"))
    os.makedirs(os.path.join(folder, "keys"))
    pki = Pki(os.path.join(folder, "keys"))
    chain = pki.chain(3)
    shutil.copy(chain.root.path, os.path.join(folder, "root.pem"))
    configuration = pki.file(
        f"[authority]\nserial = {pki.file(b'01', ending='.serial')}\nsigner_cert = {chain.signer.path}\n"
        f"signer_key = {chain.signer.key}\nsigner_digest = sha256\ndefault_policy = 1.3.6.1.4.1.32473.1\n"
        f"digests = sha256\ness_cert_id_alg = sha256\ncerts = {chain.intermediates[0].path}\n".encode(), ending=".cnf")
    with open(os.path.join(folder, "list"), "w") as names, open(os.path.join(folder, "jobs"), "w") as jobs:
        for number in range(count):
            name = f"many/{number:05}"
            path = os.path.join(folder, name)
            if number < DIFFERENT:
                with open(path, "w") as file:
                    file.write(f"file {number}\n")
                openssl("ts", "-query", "-data", path, "-sha256", "-cert", "-out", path + ".tsq")
                openssl("ts", "-reply", "-section", "authority", "-queryfile", path + ".tsq", "-config", configuration,
                        "-out", path + ".tsr")
            else:
                for ending in ("", ".tsq", ".tsr"):
                    shutil.copy(os.path.join(folder, f"many/{number % DIFFERENT:05}{ending}"), path + ending)
            digest = subprocess.run(["sha256sum", path], capture_output=True, check=True).stdout[:64].decode()
            with open(path + ".tsr", "rb") as file:
                token = base64.b64encode(file.read()).decode()
            names.write(name + "\n")
            jobs.write(json.dumps({"id": number, "token": token, "digest": "sha256:" + digest}) + "\n")


if __name__ == "__main__":
    main(sys.argv[1], int(sys.argv[2]))
