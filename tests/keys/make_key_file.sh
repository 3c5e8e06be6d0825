#!/bin/sh
# Writes a key file on standard output, encrypted by the openssl command. The
# passphrase of each section is "secret of " and the section's name.
set -e
KEY='a master key of thirty-two chars'
SALT=0102030405060708

hex() { od -An -v -tx1 | tr -d ' \n'; }
md5() { openssl dgst -md5 -binary; }

# compat ID: encrypts as old key files do.
compat() {
  openssl enc -des-ede3-cbc -nosalt -md md5 -nopad \
    -pass "pass:secret of $1" 2>/dev/null | hex
}

# modern ID KEY_SIZE IV_SIZE OPTIONS: encrypts with a key from PBKDF2.
modern() {
  key_iv=$(openssl kdf -binary -keylen $(($2 + $3)) -kdfopt digest:SHA1 \
    -kdfopt "pass:secret of $1" -kdfopt hexsalt:$SALT -kdfopt iter:1000 \
    PBKDF2 | hex)
  openssl enc $4 -K "$(echo "$key_iv" | cut -c "1-$(($2 * 2))")" \
    -iv "$(echo "$key_iv" | cut -c "$(($2 * 2 + 1))-")" | hex
}

head_of() { printf '\n[%s]\ncksum=%s' "$1" "$(printf %s "$KEY" | md5 | hex)"; }

# part ID PART
part() {
  head_of "$1"
  printf '\nkeyt=xor\ncksump=%s\nkeyp=%s' \
    "$({ printf %s "$KEY" | md5; printf %s "$2"; } | md5 | hex)" \
    "$(printf %s "$2" | compat "$1")"
}

for id in compat "$(printf %0245d 0)" aes; do
  head_of "$id"
  [ "$id" = aes ] || printf '\nkeyt=XOR'
  printf '\ncipher=Compat:\nkey=%s' "$(printf %s "$KEY" | compat "$id")"
done
while read -r id cipher key_size iv_size options; do
  head_of "$id"
  printf '\nkeyt=xor\ncipher=hmac-sha1:%s:%s:1000:rest\nkey=%s' "$cipher" \
    $SALT "$(printf %s "$KEY" | modern "$id" "$key_size" "$iv_size" "$options")"
done <<TABLE
des-pad des-ede3-cbc-pad 24 8 -des-ede3-cbc
aes128 AES128-cbc 16 16 -aes-128-cbc -nopad
aes128-pad aes128-cbc-pad 16 16 -aes-128-cbc
aes256 aes256-cbc-nopad 32 16 -aes-256-cbc -nopad
aes256-pad AES256-CBC-PAD 32 16 -aes-256-cbc
TABLE
# The first part is the key with 0x40 flipped in each byte.
part one "$(printf %s "$KEY" | tr 'a-z -' '!-:`m')"
part two '@@@@@@@@@@@@@@@@@@@@@@@@@@@@@@@@'
KEY='twenty-four byte key, no'
head_of short
printf '\nkey=%s\n' "$(printf %s "$KEY" | compat short)"
