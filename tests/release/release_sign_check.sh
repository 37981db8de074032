#!/usr/bin/env bash
# Signs a release with a throw-away self-signed certificate, time-stamped by a throw-away
# time-stamp server on this machine, reusing the first build of release_check.sh. Checks that
# osslsigncode finds the signature and the time stamp and that the signed digest is the file's,
# that one changed byte breaks it, that SHA256SUMS lists the signed bytes, and that a wrong
# password or a password without a certificate gives no package at all.
#   release_sign_check.sh SOURCE_DIR WORK_DIR
set -euo pipefail
top=$1 work=$2
build=$work/build-a
keys=$work/sign-keys && rm -rf "$keys" "$work"/out-sign* && mkdir -p "$keys"
tsa_pid=
trap '[ -z "$tsa_pid" ] || kill "$tsa_pid"' EXIT

openssl req -x509 -newkey rsa:2048 -nodes -days 2 -subj "/CN=mpdiag throw-away signer" \
    -addext extendedKeyUsage=codeSigning -keyout "$keys/signer.key" -out "$keys/signer.pem" 2>/dev/null
password='pass word $1 "quoted"'
openssl pkcs12 -export -in "$keys/signer.pem" -inkey "$keys/signer.key" -out "$keys/signer.p12" \
    -passout fd:3 3< <(printf '%s' "$password")
openssl req -x509 -newkey rsa:2048 -nodes -days 2 -subj "/CN=mpdiag throw-away time-stamp server" \
    -addext "extendedKeyUsage=critical,timeStamping" -keyout "$keys/tsa.key" -out "$keys/tsa.pem" 2>/dev/null
printf '[tsa]\ndefault_tsa = tsa_config\n[tsa_config]\nserial = %s\nsigner_digest = sha256\n%s\n' \
    "$keys/tsa.serial" 'default_policy = 1.2.3.4.1
digests = sha256, sha384, sha512
ess_cert_id_alg = sha256' >"$keys/tsa.cnf"
echo 01 >"$keys/tsa.serial"

# The time-stamp server: answers each RFC 3161 query posted to it with "openssl ts -reply",
# on the loopback address only.
python3 - "$keys" >"$keys/tsa.port" 2>"$keys/tsa.log" <<'PY' &
import http.server, os, subprocess, sys
keys = sys.argv[1]
class TimeStamps(http.server.BaseHTTPRequestHandler):
    def do_POST(self):
        query = os.path.join(keys, "query.tsq")
        with open(query, "wb") as f:
            f.write(self.rfile.read(int(self.headers["Content-Length"])))
        reply = subprocess.run(["openssl", "ts", "-reply", "-config", os.path.join(keys, "tsa.cnf"),
                                "-queryfile", query, "-signer", os.path.join(keys, "tsa.pem"),
                                "-inkey", os.path.join(keys, "tsa.key"), "-out", "/dev/stdout"],
                               capture_output=True).stdout
        self.send_response(200 if reply else 500)
        self.send_header("Content-Type", "application/timestamp-reply")
        self.send_header("Content-Length", str(len(reply)))
        self.end_headers()
        self.wfile.write(reply)
server = http.server.HTTPServer(("127.0.0.1", 0), TimeStamps)
print(server.server_address[1], flush=True)
server.serve_forever()
PY
tsa_pid=$!
for _ in $(seq 100); do [ -s "$keys/tsa.port" ] && break; sleep 0.1; done
tsa_url=http://127.0.0.1:$(cat "$keys/tsa.port")

package=$(MPDIAG_SIGN_PKCS12=$keys/signer.p12 MPDIAG_SIGN_PASSWORD=$password MPDIAG_SIGN_TIMESTAMP_URL=$tsa_url \
          "$top/scripts/release.sh" "$build" "$work/out-sign")
python3 - "$package" "$keys/signed.exe" "$build/mpdiag.exe" <<'PY'
import hashlib, sys, zipfile
z = zipfile.ZipFile(sys.argv[1])
signed = z.read("mpdiag.exe")
open(sys.argv[2], "wb").write(signed)
assert signed != open(sys.argv[3], "rb").read(), "the package holds the unsigned executable"
sums = dict(reversed(line.split("  ")) for line in z.read("SHA256SUMS").decode().splitlines())
assert sums["mpdiag.exe"] == hashlib.sha256(signed).hexdigest(), "SHA256SUMS lists other bytes"
assert sorted(z.namelist()) == ["ADMINISTRATORS.txt", "SHA256SUMS", "THIRD-PARTY-NOTICES.txt", "mpdiag.exe"]
PY

verify() { osslsigncode verify -CAfile "$keys/signer.pem" -TSA-CAfile "$keys/tsa.pem" -in "$1" 2>&1; }
report=$(verify "$keys/signed.exe") || { echo "$report" >&2; echo "FAIL: the signed executable does not verify" >&2; exit 1; }
current=$(sed -n 's/^Current message digest *: *\([0-9A-F]*\).*/\1/p' <<<"$report")
calculated=$(sed -n 's/^Calculated message digest *: *\([0-9A-F]*\).*/\1/p' <<<"$report")
for expected in "Message digest algorithm  : SHA256" "Subject: /CN=mpdiag throw-away signer" \
                "Text description: mpdiag" "Timestamp Server Signature verification: ok" \
                "Signature verification: ok"; do
    grep -qF "$expected" <<<"$report" || { echo "$report" >&2; echo "FAIL: no \"$expected\"" >&2; exit 1; }
done
[ ${#current} -eq 64 ] && [ "$current" = "$calculated" ] \
    || { echo "FAIL: signed digest '$current', digest of the file '$calculated'" >&2; exit 1; }
echo "signed and time-stamped: digest $current"

# One byte of the code changed after signing: the signature no longer covers the file.
python3 -c 'import sys; b = bytearray(open(sys.argv[1], "rb").read()); b[0x1000] ^= 0xFF
open(sys.argv[2], "wb").write(b)' "$keys/signed.exe" "$keys/changed.exe"
if report=$(verify "$keys/changed.exe"); then
    echo "$report" >&2; echo "FAIL: a changed executable still verifies" >&2; exit 1
fi
changed=$(sed -n 's/^Calculated message digest *: *\([0-9A-F]*\).*/\1/p' <<<"$report")
[ -n "$changed" ] && [ "$changed" != "$current" ] || { echo "$report" >&2; exit 1; }
echo "a changed byte breaks the signature: digest $changed"

# A wrong password, or a password without a certificate: the release fails and makes no package.
if MPDIAG_SIGN_PKCS12=$keys/signer.p12 MPDIAG_SIGN_PASSWORD=wrong \
   "$top/scripts/release.sh" "$build" "$work/out-sign-wrong" >/dev/null 2>"$keys/wrong.err"; then
    echo "FAIL: a wrong password gave a package" >&2; exit 1
fi
if MPDIAG_SIGN_PASSWORD=$password "$top/scripts/release.sh" "$build" "$work/out-sign-none" \
   >/dev/null 2>"$keys/none.err"; then
    echo "FAIL: a password without a certificate gave a package" >&2; exit 1
fi
grep -q "MPDIAG_SIGN_PKCS12 is not" "$keys/none.err" || { cat "$keys/none.err" >&2; exit 1; }
if ls "$work"/out-sign-wrong/*.zip "$work"/out-sign-none/*.zip 2>/dev/null; then
    echo "FAIL: a failed signing left a package" >&2; exit 1
fi
echo "a wrong password and a password alone make no package"
