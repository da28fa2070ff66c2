#!/bin/sh
# Makes tests/data/samples with the openssl command: certificates, a CRL, time-stamp requests and
# replies, signed data. Keys are new in every run and discarded. Usage: make_samples.sh
# Every run gives other keys, serial numbers and times; the tests hold for all of them.
set -eu
out=$(cd "$(dirname "$0")" && pwd)/samples
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkdir -p "$out"
cd "$work"
export RANDFILE="$work/rnd"

cat > ca.cnf <<'END'
[ req ]
distinguished_name = dn
prompt = no
string_mask = utf8only
[ dn ]
C = SE
ST = Uppland
O = Example Trust
OU = Time Stamping
CN = Example Root
[ root ]
basicConstraints = critical,CA:TRUE
keyUsage = critical,keyCertSign,cRLSign
subjectKeyIdentifier = hash
[ tsa ]
basicConstraints = critical,CA:FALSE
keyUsage = critical,digitalSignature
extendedKeyUsage = critical,timeStamping
subjectKeyIdentifier = hash
authorityKeyIdentifier = keyid
crlDistributionPoints = URI:http://crl.example.org/root.crl
[ root_crl ]
authorityKeyIdentifier = keyid:always
[ ca ]
default_ca = root_ca
[ root_ca ]
database = index.txt
serial = serial
crlnumber = crlnumber
new_certs_dir = .
default_md = sha256
default_days = 3650
default_crl_days = 30
policy = any
[ any ]
countryName = optional
organizationName = optional
commonName = supplied
END
cat > tsa.cnf <<'END'
[ tsa ]
default_tsa = config
[ config ]
serial = tsa_serial
crypto_device = builtin
signer_digest = sha256
default_policy = 1.3.6.1.4.1.32473.1
other_policies = 1.3.6.1.4.1.32473.2
digests = sha1, sha256, sha384, sha512
accuracy = secs:1, millisecs:500, microsecs:100
ordering = yes
tsa_name = yes
ess_cert_id_chain = yes
ess_cert_id_alg = sha1
[ config_v2 ]
serial = tsa_serial
crypto_device = builtin
signer_digest = sha512
default_policy = 1.3.6.1.4.1.32473.1
digests = sha256
clock_precision_digits = 3
ordering = no
tsa_name = no
ess_cert_id_chain = no
ess_cert_id_alg = sha256
[ config_v2_sha512 ]
serial = tsa_serial
crypto_device = builtin
signer_digest = sha256
default_policy = 1.3.6.1.4.1.32473.1
digests = sha256
ordering = no
tsa_name = yes
ess_cert_id_chain = no
ess_cert_id_alg = sha512
END
touch index.txt
echo 1000 > serial
echo 07 > crlnumber
echo 0102030405060708090A0B0C0D0E0F1011 > tsa_serial

# A root, an authority, and a certificate that is revoked.
openssl req -x509 -newkey rsa:2048 -nodes -keyout root.key -out root.pem -days 7300 -config ca.cnf -extensions root
openssl req -newkey rsa:2048 -nodes -keyout tsa.key -out tsa.csr -config ca.cnf \
  -subj '/C=SE/O=Example Trust/CN=Example TSA/emailAddress=tsa@example.org/serialNumber=1234'
openssl x509 -req -in tsa.csr -CA root.pem -CAkey root.key -set_serial 0x00F1E2D3C4B5A69788796A5B4C3D2E1F \
  -days 3650 -sha256 -extfile ca.cnf -extensions tsa -out tsa.pem
openssl req -newkey rsa:1024 -nodes -keyout old.key -out old.csr -config ca.cnf -subj '/C=SE/O=Example Trust/CN=Old'
openssl ca -batch -notext -config ca.cnf -cert root.pem -keyfile root.key -in old.csr -out old.pem
openssl ca -config ca.cnf -cert root.pem -keyfile root.key -revoke old.pem -crl_reason superseded
openssl ca -config ca.cnf -cert root.pem -keyfile root.key -gencrl -crlexts root_crl -out root.crl
# Two that the type model has no room for: a domainComponent, an elliptic-curve key.
openssl req -x509 -newkey rsa:1024 -nodes -keyout dc.key -out dc.pem -days 3650 -config ca.cnf \
  -subj '/DC=org/DC=example/CN=Example'
openssl req -x509 -newkey ec -pkeyopt ec_paramgen_curve:prime256v1 -nodes -keyout ec.key -out ec.pem -days 3650 \
  -config ca.cnf -subj '/C=SE/CN=Curve'

openssl x509 -in root.pem -outform DER -out "$out/certificate_root.der"
openssl x509 -in tsa.pem -outform DER -out "$out/certificate_tsa.der"
openssl x509 -in dc.pem -outform DER -out "$out/refused_certificate_domain_component.der"
openssl x509 -in ec.pem -outform DER -out "$out/refused_certificate_curve.der"
openssl rsa -in tsa.key -RSAPublicKey_out -outform DER -out "$out/rsa_public_key.der"

# Requests by digest, with and without nonce, certificate request and policy, and their replies.
echo "the data to be stamped" > data
reply() { # name, section, request
  openssl ts -reply -config tsa.cnf -section "$2" -queryfile "$3" -signer tsa.pem -inkey tsa.key -chain root.pem \
    -out "$out/reply_$1.der"
}
for digest in sha1 sha256 sha384 sha512; do
  openssl ts -query -data data -$digest -cert -out "$out/request_${digest}_cert.der"
done
openssl ts -query -data data -sha256 -no_nonce -out "$out/request_sha256_bare.der"
openssl ts -query -data data -sha256 -tspolicy 1.3.6.1.4.1.32473.2 -cert -out "$out/request_sha256_policy.der"
openssl ts -query -data data -md5 -no_nonce -out "$out/request_md5.der"
reply sha1_v1_cert config "$out/request_sha1_cert.der"
reply sha256_v1_cert config "$out/request_sha256_policy.der"
reply sha256_v1_bare config "$out/request_sha256_bare.der"
reply sha256_v2_cert config_v2 "$out/request_sha256_cert.der"
reply sha256_v2_bare config_v2 "$out/request_sha256_bare.der"
reply sha256_v2_sha512_cert config_v2_sha512 "$out/request_sha256_cert.der"
reply rejected config "$out/request_md5.der"
openssl ts -reply -in "$out/reply_sha256_v2_cert.der" -token_out -out "$out/token_sha256_v2_cert.der"

# Signed data with a CRL, and by subject key identifier, without signed attributes.
openssl crl -in root.crl -outform DER -out "$out/crl_root.der"
openssl crl2pkcs7 -in root.crl -certfile tsa.pem -outform DER -out "$out/signed_data_crl.der"
openssl cms -sign -in data -signer tsa.pem -inkey tsa.key -keyid -noattr -nodetach -binary -outform DER \
  -out "$out/signed_data_keyid.der"
# S/MIME capabilities are an attribute that has no type here.
openssl cms -sign -in data -signer tsa.pem -inkey tsa.key -nodetach -binary -outform DER \
  -out "$out/refused_signed_data_capabilities.der"
# Indefinite lengths and constructed octets.
openssl cms -sign -in data -signer tsa.pem -inkey tsa.key -noattr -stream -nodetach -binary -outform DER \
  -out "$out/signed_data_indefinite.ber"
