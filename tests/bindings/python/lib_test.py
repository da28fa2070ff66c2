"""qex.lib: each function gives what openssl reads from the same message, or what the maker of the sample put into it."""

import concurrent.futures
import hashlib
import pickle
import re
import secrets

import pytest
from conftest import PEERS, STAMPED, field, hash_in, openssl, peer, run_python, sample, text_of_reply, text_of_request

from qex import lib

SHA256 = "2.16.840.1.101.3.4.2.1"
REPLIES = ("reply_sha1_v1_cert.der", "reply_sha256_v1_bare.der", "reply_sha256_v2_cert.der",
           "reply_sha256_v2_sha512_cert.der")


def facts(name):
    """The record of samples.txt about a file."""
    text = (PEERS / "samples.txt").read_text()
    block = next(block for block in text.split("\n\n") if f"\nName = {name}\n" in block)
    return dict(re.findall(r"^(\w+) = (.*)$", block, re.MULTILINE))


def a_request(**more):
    nonce = (secrets.randbits(62) | 1 << 62).to_bytes(8, "big")
    return lib.TsqDataEx(**{"hash_algorithm": SHA256, "hashed_message": hashlib.sha256(STAMPED).digest(), "nonce": nonce,
                            "req_policy": "1.3.6.1.4.1.32473.2", "cert_req": 1, **more})


# --- Requests --------------------------------------------------------------------


def test_request_reads_in_openssl_as_it_was_meant():
    request = a_request()
    text = text_of_request(lib.encode_tsq_ex(request))
    assert field(text, "Hash Algorithm") == "sha256"
    assert hash_in(text) == hashlib.sha256(STAMPED).digest()
    assert field(text, "Policy OID") == "1.3.6.1.4.1.32473.2"
    assert int(field(text, "Nonce"), 16) == int.from_bytes(request.nonce, "big")
    assert field(text, "Certificate required") == "yes"


def test_short_record_encodes_the_same_request():
    request = a_request()
    short = lib.TsqData(hash_algorithm=SHA256, hashed_message=request.hashed_message, req_policy=request.req_policy,
                        nonce=int.from_bytes(request.nonce, "big"), cert_req=1)
    assert lib.encode_tsq(short) == lib.encode_tsq_ex(request)


@pytest.mark.parametrize("name", ["request_sha1_cert.der", "request_sha256_policy.der", "request_sha512_cert.der"])
def test_requests_of_openssl_are_read(name):
    text = text_of_request(sample(name))
    for record in (lib.decode_tsq_ex(sample(name)), lib.decode_tsq(sample(name))):
        assert record.hashed_message == hash_in(text)[:40 if isinstance(record, lib.TsqData) else 128]
        assert record.hashed_message_length == len(hash_in(text))
        nonce = record.nonce if isinstance(record.nonce, int) else int.from_bytes(record.nonce, "big")
        assert nonce == int(field(text, "Nonce"), 16)
        assert record.req_policy == {"unspecified": ""}.get(field(text, "Policy OID"), field(text, "Policy OID"))
        assert record.cert_req == 1


def test_framings_are_put_on():
    bare = lib.encode_tsq_ex(request := a_request())
    assert lib.encode_tsq_ex(request, lib.Transport.SOCKET) == (len(bare) + 1).to_bytes(4, "big") + b"\0" + bare
    framed = lib.encode_tsq_ex(request, lib.Transport.HTTP)
    assert framed.startswith(b"POST ") and framed.endswith(b"\r\n\r\n" + bare)
    with pytest.raises(lib.UnsupportedError):
        lib.encode_tsq_ex(request, lib.Transport.RESERVED)
    with pytest.raises(ValueError):
        lib.encode_tsq_ex(request, 1 << 32)


def test_longest_request_is_whole():
    identifier = "1.2." + "16383." * 20 + "1"
    request = a_request(hashed_message=b"\x55" * 128, nonce=b"\x01" * 40, req_policy=identifier)
    assert lib.decode_tsq_ex(lib.encode_tsq_ex(request, lib.Transport.HTTP)) == request


def test_buffer_that_is_too_small_grows_to_the_length_needed(monkeypatch):
    grow, rooms = lib._output, []
    monkeypatch.setattr(lib, "_output", lambda function, room, call: rooms.append(room) or grow(function, 3, call))
    assert text_of_request(lib.encode_tsq_ex(a_request())) and rooms == [1024]


# --- Records ---------------------------------------------------------------------


@pytest.mark.parametrize("change", [{"hashed_message": bytes(129)}, {"nonce": bytes(41)}, {"req_policy": "1" * 128},
                                    {"hash_algorithm": "1.2\0.3"}, {"cert_req": 1 << 32}])
def test_values_that_do_not_fit_are_refused(change):
    with pytest.raises(ValueError, match=next(iter(change))):
        lib.encode_tsq_ex(a_request(**change))


def test_numbers_of_64_bits_are_one_number():
    for nonce in (1, 1 << 32, (1 << 63) - 1):
        assert lib.decode_tsq(lib.encode_tsq(lib.TsqData(hash_algorithm=SHA256, hashed_message=bytes(32), nonce=nonce))).nonce == nonce
    with pytest.raises(ValueError, match="nonce"):
        lib.encode_tsq(lib.TsqData(nonce=1 << 64))


def test_lengths_follow_the_octets():
    assert a_request().hashed_message_length == 32
    assert a_request().nonce_length == 8
    for length in (33, 1 << 32, (1 << 32) + 32):
        with pytest.raises(ValueError, match=f"hashed_message_length: {length}, but the octets are 32"):
            lib.encode_tsq_ex(a_request(hashed_message_length=length))


def test_octets_are_not_text():
    kept = lib.encode_tsq_ex(request := a_request())
    for octets in (bytearray(request.nonce), memoryview(request.nonce)):
        assert lib.encode_tsq_ex(a_request(nonce=octets)) == kept
    for other in ("12345678", 8):
        with pytest.raises(TypeError):
            lib.encode_tsq_ex(a_request(nonce=other))


# --- Replies ---------------------------------------------------------------------


@pytest.mark.parametrize("name", REPLIES)
def test_token_is_the_one_that_openssl_takes_out(name, tmp_path):
    reply = tmp_path / "reply"
    reply.write_bytes(sample(name))
    assert lib.get_tsr_encoded_token(sample(name)) == openssl("ts", "-reply", "-in", str(reply), "-token_out")
    assert lib.get_tsr_status(sample(name)) == lib.TsrStatus(status=0)


def test_rejection_has_the_words_of_the_authority():
    status = lib.get_tsr_status(sample("reply_rejected.der"))
    words = field(text_of_reply("reply_rejected.der"), "Status description").removesuffix(".")
    assert (status.status, status.status_text.removesuffix("."), status.fail_info) == (2, words, 0)
    with pytest.raises(lib.RejectedError) as raised:
        lib.get_tsr_encoded_token(sample("reply_rejected.der"))
    assert raised.value.function == "QEX_GetTSR_EncodedToken"
    assert "the authority did not grant the request (QEX_E_REJECTED, code -9" in str(raised.value)


def test_framings_are_taken_off():
    bare = sample("reply_sha256_v2_cert.der")
    framed = (len(bare) + 1).to_bytes(4, "big") + b"\5" + bare
    assert lib.unpack_tsr(framed, lib.Transport.SOCKET) == (bare, 5)
    assert lib.unpack_tsr(bare, lib.Transport.RAW) == (bare, 0)
    head = b"HTTP/1.0 200 OK\r\nContent-Type: application/timestamp-reply\r\nContent-Length: %d\r\n\r\n" % len(bare)
    assert lib.unpack_tsr(head + bare, lib.Transport.HTTP) == (bare, 200)
    with pytest.raises(lib.LengthError) as raised:
        lib.unpack_tsr(framed[:100], lib.Transport.SOCKET)
    assert raised.value.details == {"announced": len(framed)}
    with pytest.raises(lib.FramingError) as refused:
        lib.unpack_tsr(head.replace(b"200 OK", b"503 No") + bare, lib.Transport.HTTP)
    assert refused.value.details == {"transport_status": 503}
    with pytest.raises(lib.ArgError):
        lib.unpack_tsr(b"", lib.Transport.SOCKET)


# --- Tokens ----------------------------------------------------------------------


@pytest.mark.parametrize("name", REPLIES)
def test_token_reads_as_openssl_reads_it(name):
    text = text_of_reply(name)
    token = lib.get_tsr_encoded_token(sample(name))
    info = lib.get_tst_tstinfo_ex(token)
    with pytest.raises(lib.SizeError) as too_long:  # the serial number has more than 64 bits
        lib.get_tst_tstinfo(token)
    short = too_long.value.details["record"]
    assert int.from_bytes(info.serial_number, "big") == int(field(text, "Serial number"), 16)
    assert info.policy == short.policy == field(text, "Policy OID")
    assert info.hashed_message == short.hashed_message == hash_in(text)
    assert info.ordering == short.ordering == (field(text, "Ordering") == "yes")
    said = field(text, "Nonce")
    assert int.from_bytes(info.nonce, "big") == short.nonce == (0 if said == "unspecified" else int(said, 16))
    said = field(text, "Accuracy")
    assert (info.accuracy_seconds, info.accuracy_millis, info.accuracy_micros) == tuple(
        int(found[1], 16) if (found := re.search(rf"(0x[0-9A-F]+) {unit}", said)) else 0
        for unit in ("seconds", "millis", "micros"))
    assert ("CN=Example TSA" in info.tsa_name) == ("Example TSA" in field(text, "TSA"))
    month, day, clock, year, _ = field(text, "Time stamp").split()
    months = "Jan Feb Mar Apr May Jun Jul Aug Sep Oct Nov Dec".split()
    assert info.gen_time == f"{year}{months.index(month) + 1:02}{int(day):02}{clock.replace(':', '')}Z"


def test_token_of_another_maker_has_what_was_put_into_it():
    said = facts("token_rsa2048_sha256_v2.der")
    info = lib.get_tst_tstinfo_ex(peer("token_rsa2048_sha256_v2.der"))
    assert (info.serial_number.hex(), info.gen_time, info.nonce.hex(), info.hashed_message.hex(), info.policy) == (
        said["Serial"], said["Time"] + "Z", said["Nonce"], said["Imprint"], said["Policy"])


def test_certificate_is_the_authoritys():
    assert lib.get_tst_tsa_cert(lib.get_tsr_encoded_token(sample("reply_sha256_v2_cert.der"))) == sample("certificate_tsa.der")
    with pytest.raises(lib.NoCertError):
        lib.get_tst_tsa_cert(lib.get_tsr_encoded_token(sample("reply_sha256_v2_bare.der")))


def test_signature_verifies_with_the_authoritys_certificate_only():
    token = lib.get_tsr_encoded_token(sample("reply_sha256_v2_cert.der"))
    lib.verify_tst_signature(token, sample("certificate_tsa.der"))
    lib.verify_tst_signature(token, None)
    with pytest.raises(lib.SignatureError):
        lib.verify_tst_signature(token, sample("certificate_root.der"))
    with pytest.raises(lib.ArgError):
        lib.verify_tst_signature(token, b"no certificate")
    damaged = bytearray(token)
    damaged[-1] ^= 1
    with pytest.raises(lib.SignatureError):
        lib.verify_tst_signature(damaged, sample("certificate_tsa.der"))


def test_empty_certificate_is_not_any_certificate():
    with pytest.raises(ValueError, match="empty"):
        lib.verify_tst_signature(lib.get_tsr_encoded_token(sample("reply_sha256_v2_cert.der")), b"")


def test_rewritten_tokens():
    token = lib.get_tsr_encoded_token(sample("reply_sha256_v2_cert.der"))
    assert lib.remove_attr_certs(token) == token
    shortened = lib.remove_attr_certs(peer("token_rsa2048_sha256_v2_tac.der"))
    assert lib.get_tst_tstinfo_ex(shortened) == lib.get_tst_tstinfo_ex(peer("token_rsa2048_sha256_v2_tac.der"))
    assert peer("tac_full.der") not in shortened
    plain = openssl("asn1parse", "-inform", "DER", octets=lib.tstinfo_to_id_data(token)).decode()
    assert ":pkcs7-data" in plain and ":id-smime-ct-TSTInfo" in openssl("asn1parse", "-inform", "DER", octets=token).decode()


# --- Time attribute certificates ---------------------------------------------------


def test_time_attribute_certificate_of_a_token():
    token, tac = peer("token_rsa2048_sha256_v2_tac.der"), peer("tac_full.der")
    assert lib.get_tst_time_attribute_cert(token) == tac
    lib.check_tac_matches_tst(tac, token)
    with pytest.raises(lib.MismatchError):
        lib.check_tac_matches_tst(peer("tac_digest.der"), token)
    with pytest.raises(lib.NoTacError):
        lib.get_tst_time_attribute_cert(peer("token_rsa2048_sha256_v2.der"))


def test_time_attribute_certificate_has_what_was_put_into_it():
    said, tac = facts("tac_full.der"), peer("tac_full.der")
    info = lib.get_tac_cert_info_ex(tac)
    assert (info.serial_number.hex(), info.signature_value.hex(), info.signature_algorithm) == (
        said["Serial"], said["Signature"], said["Algorithm"])
    assert info.object_digest == hashlib.sha256(peer("certificate_rsa2048.der")).digest()
    assert info.holder_name == info.issuer_name == "C=SE;O=Example Trust;CN=Example TSA rsa2048"
    assert lib.get_tac_cert_info(peer("tac_name.der")).serial_number == int(facts("tac_name.der")["Serial"], 16)
    metrics = lib.get_tac_timing_metrics_ex(tac)  # the values of Samples.java
    assert metrics == lib.TimingMetricsEx(ntp_time="20240101000000Z", offset=-0.25, delay=1.5, expiration="20250101000000Z",
                                          leap_action=1, leap_time="20170101000000Z")
    assert lib.get_tac_timing_metrics(tac).offset == -0.25
    policy = lib.get_tac_timing_policy(tac)
    assert (policy.max_offset, policy.max_delay) == (2.0, 0.125)


# --- Errors ----------------------------------------------------------------------


def test_value_that_does_not_fit_comes_with_the_record():
    request = openssl("ts", "-query", "-sha512", "-digest", "ab" * 64)
    with_long_nonce = lib.encode_tsq_ex(a_request(nonce=b"\x01" * 9))
    with pytest.raises(lib.SizeError) as raised:
        lib.decode_tsq(with_long_nonce)
    assert raised.value.details["record"].hash_algorithm == SHA256
    assert lib.decode_tsq(request).hashed_message_length == 64


def test_every_code_has_its_error():
    codes = [code for code in lib.Code if code != lib.Code.OK]
    classes = {kind.code: kind for kind in lib.ResultError.__subclasses__()}
    assert sorted(classes) == sorted(codes) and len(codes) == 16
    for kind in classes.values():
        error = pickle.loads(pickle.dumps(kind("QEX_Any", -13, announced=7)))
        assert type(error) is kind and error.details == {"announced": 7} and kind.text in str(error)


def test_last_asn_error_is_that_of_the_failure():
    with pytest.raises(lib.DecodeError) as raised:
        lib.get_tst_tstinfo_ex(b"\x30\x05\x06")
    assert raised.value.asn1_error == lib.get_last_asn_error() < 0


@pytest.mark.parametrize("octets", ["text", 5, None, [1, 2]])
def test_only_octets_are_taken(octets):
    with pytest.raises(TypeError):
        lib.get_tsr_status(octets)


def test_lengths_beyond_32_bits_are_refused(monkeypatch):
    monkeypatch.setattr(lib, "_MOST", 100)
    with pytest.raises(ValueError, match="at most 100"):
        lib.get_tsr_status(sample("reply_rejected.der") + bytes(100))


def test_all_kinds_of_octets_are_taken():
    reply = sample("reply_sha256_v2_cert.der")
    assert lib.get_tsr_encoded_token(bytearray(reply)) == lib.get_tsr_encoded_token(memoryview(reply)) == \
        lib.get_tsr_encoded_token(reply)


# --- Digests ---------------------------------------------------------------------


@pytest.mark.parametrize("kind", [lib.Md5, lib.Sha1, lib.Sha256, lib.Sha384, lib.Sha512])
def test_digests_are_those_of_hashlib(kind):
    data = secrets.token_bytes(3 << 20)
    for length in (0, 1, 55, 56, 63, 64, 65, 111, 112, 127, 128, 129, len(data)):
        expected = hashlib.new(kind.name, data[:length])
        digest = kind()
        digest.update(data[:length // 3])
        digest.update(memoryview(data)[length // 3:length])
        assert digest.digest() == digest.digest() == expected.digest()
        assert (digest.hexdigest(), digest.digest_size) == (expected.hexdigest(), expected.digest_size)
    with pytest.raises(ValueError):
        digest.update(b"more")
    kind(b"dropped without a digest")


# --- Threads ---------------------------------------------------------------------


def test_threads_do_not_disturb_each_other():
    token = lib.get_tsr_encoded_token(sample("reply_sha256_v2_cert.der"))
    expected = lib.get_tst_tstinfo_ex(token)

    def work(number):
        lib.verify_tst_signature(token, sample("certificate_tsa.der"))
        with pytest.raises(lib.NoCertError):
            lib.get_tst_tsa_cert(lib.get_tsr_encoded_token(sample("reply_sha256_v2_bare.der")))
        return lib.get_tst_tstinfo_ex(token) == expected and lib.Sha256(bytes(number)).digest() == hashlib.sha256(bytes(number)).digest()

    with concurrent.futures.ThreadPoolExecutor(8) as pool:
        assert all(pool.map(work, range(400)))


def test_switch_of_the_attribute_is_read_from_the_environment():
    program = ("import os, sys; from qex import lib; os.environ['QEX_VERIFY_ESSCERTIDV2'] = sys.argv[1]\n"
               "from conftest import sample; os.environ['QEX_VERIFY_ESSCERTIDV2'] = sys.argv[1]\n"
               "token = lib.get_tsr_encoded_token(sample('reply_sha256_v2_cert.der'))\n"
               "lib.verify_tst_signature(token, sample('certificate_tsa.der'))")
    assert run_python(program, "1").returncode == 0
    assert "DecodeError" in run_python(program, "0").stderr
