#!/usr/bin/env bash
# For the release's workflow: puts the certificate of $CERTIFICATE, a .p12 in Base64 with
# $CERTIFICATE_PASSWORD, into a keychain of its own, and tells the steps that follow the identity's
# name, $SIGN_IDENTITY.
set -euo pipefail

scratch=${RUNNER_TEMP:?the runner names its folder for such files}
keychain=$scratch/signing.keychain-db
certificate=$scratch/certificate.p12
password=$(uuidgen)
trap 'rm -f "$certificate"' EXIT

security create-keychain -p "$password" "$keychain"
security set-keychain-settings -lut 7200 "$keychain"
security unlock-keychain -p "$password" "$keychain"
printf '%s' "${CERTIFICATE:?}" | base64 --decode >"$certificate"
security import "$certificate" -P "${CERTIFICATE_PASSWORD:?}" -T /usr/bin/codesign -k "$keychain"
# Else codesign would ask on the screen whether it may use the key.
security set-key-partition-list -S apple-tool:,apple: -k "$password" "$keychain" >/dev/null
security list-keychains -d user -s "$keychain" login.keychain-db
printf 'QUILLMERE_SIGN_IDENTITY=%s\n' "${SIGN_IDENTITY:?}" >>"${GITHUB_ENV:?}"
