#!/bin/sh
# Makes the samples of this folder with the openssl command: DSA keys, self-signed certificates,
# time-stamp replies and their tokens. samples.txt has one record for each token. Keys are discarded.
# Usage: make.sh
# Every run gives other keys, serial numbers and times; the tests hold for all of them.
set -eu
out=$(cd "$(dirname "$0")" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
rm -f -- "$out"/*.der
cd "$work"

cat > openssl.cnf <<'END_OF_FILE'
[ req ]
distinguished_name = dn
prompt = no
x509_extensions = tsa
[ dn ]
C = SE
O = Example Trust
CN = Example TSA
[ tsa ]
basicConstraints = critical,CA:FALSE
extendedKeyUsage = critical,timeStamping
END_OF_FILE

cat > "$out/samples.txt" <<END_OF_FILE
# Law: each token_*.der is the token of the reply that \`openssl ts -reply\` wrote, and \`openssl ts -verify\`
# accepted, with a key of its record; $(openssl version | cut -d' ' -f1-2).
# Key: dsaP_Q has a p of P and a q of Q bits. Version: of the signing-certificate attribute.
# Serial and Nonce are as openssl prints them. Made by make.sh. Keys were thrown away.
END_OF_FILE

echo "the data to be stamped" > data
openssl ts -query -data data -sha256 -cert -out "$out/request.der"
echo 0102030405060708090A0B0C0D0E0F80 > serial

for sizes in 1024_160 2048_224 2048_256; do
  key=dsa$sizes
  openssl genpkey -genparam -algorithm DSA -pkeyopt dsa_paramgen_bits:${sizes%_*} \
    -pkeyopt dsa_paramgen_q_bits:${sizes#*_} -out $key.param
  openssl genpkey -paramfile $key.param -out $key.key
  openssl req -x509 -new -config openssl.cnf -key $key.key -sha256 -days 3650 -out $key.pem
  openssl x509 -in $key.pem -outform DER -out "$out/certificate_$key.der"
  for digest in sha1 sha256; do
    for version in 1 2; do
      name=${key}_${digest}_v$version
      ess=sha1
      [ $version = 1 ] || ess=sha256
      cat > tsa.cnf <<END_OF_FILE
[ tsa ]
serial = serial
signer_cert = $key.pem
signer_key = $key.key
signer_digest = $digest
default_policy = 1.3.6.1.4.1.32473.1
digests = sha256
accuracy = secs:1, millisecs:500, microsecs:100
ordering = yes
tsa_name = yes
ess_cert_id_alg = $ess
END_OF_FILE
      openssl ts -reply -config tsa.cnf -section tsa -queryfile "$out/request.der" -out "$out/reply_$name.der"
      openssl ts -verify -queryfile "$out/request.der" -in "$out/reply_$name.der" -CAfile $key.pem
      openssl ts -reply -in "$out/reply_$name.der" -token_out -out "$out/token_$name.der"
      openssl ts -reply -in "$out/reply_$name.der" -text > text
      {
        printf '\nName = token_%s.der\nKey = %s\nDigest = %s\nVersion = %s\nReply = reply_%s.der\n' \
          $name $key $digest $version $name
        sed -n 's/^Serial number: 0x/Serial = /p; s/^Nonce: 0x/Nonce = /p' text
      } >> "$out/samples.txt"
    done
  done
done
