#!/bin/bash
# Runs the examples of the documents and compares what they print, to the
# letter, with what the documents say.
#
#   document_examples_test.sh CHRONEX_BINARY CHRONEX_TRAIL_BINARY
#                             MAKE_SAMPLES_BINARY
#
# An example is a fenced block marked "console" in a .md file, or an .EX block
# in a man page, with lines that begin with "$ ". What follows such a line is
# the rest of the command as long as it begins with "> ", and then what the
# command prints on standard output and standard error. The examples of a
# document run one after another in a directory that holds the sample logs, the
# filter files and the programs of the examples.
#
# Behind "console" may stand:
#   needs=NAME       skip the block where there is no such command
#   typed="A|B"      run the block on a terminal and answer passphrase prompts
#                    with A, then B

set -u

if [ $# -ne 3 ]; then
  echo "usage: $0 CHRONEX_BINARY CHRONEX_TRAIL_BINARY MAKE_SAMPLES_BINARY" >&2
  exit 2
fi
chronex=$(realpath "$1") || exit 2
chronex_trail=$(realpath "$2") || exit 2
make_samples=$(realpath "$3") || exit 2
root=$(realpath "$(dirname "$0")/..") || exit 2

work=$(mktemp -d) || exit 2
trap 'rm -rf "$work"' EXIT
mkdir "$work/bin" && ln -s "$chronex" "$work/bin/chronex" &&
  ln -s "$chronex_trail" "$work/bin/chronex-trail" &&
  ln -s "$make_samples" "$work/bin/make_samples" || exit 2

export PATH="$work/bin:$PATH" TZ=UTC LC_ALL=C SHELL=/bin/bash
unset KO_MKEYID KO_MKEYFILE KODB_NO_DECRYPT BASH_ENV

examples=0
failures=0
documents=0

fail() {
  echo "FAILED: $*"
  failures=$((failures + 1))
}

# Runs a command on a terminal of its own. Each prompt for a passphrase gets
# the next of the replies. Prints what the terminal shows.
run_on_terminal() {
  local command=$1 line reply=0
  local -a replies
  IFS='|' read -r -a replies <<<"$2"
  coproc terminal { timeout 60 script -qec "$command" /dev/null 2>&1; }
  local from=${terminal[0]} to=${terminal[1]}
  while IFS= read -r line <&"$from"; do
    printf '%s\n' "${line%$'\r'}"
    if [[ $line == "Enter passphrase for "* ]]; then
      printf '%s\n' "${replies[reply]-}" >&"$to"
      reply=$((reply + 1))
    fi
  done
  # shellcheck disable=SC2154  # coproc sets it
  wait "$terminal_PID"
}

# check_example PLACE COMMAND EXPECTED TYPED
check_example() {
  examples=$((examples + 1))
  printf '%s' "$3" >"$work/expected"
  if [ -n "$4" ]; then
    (cd "$directory" && run_on_terminal "$2" "$4") >"$work/actual" 2>/dev/null
  else
    (cd "$directory" && exec timeout 60 bash -c "$2") \
      >"$work/actual" 2>&1 </dev/null
  fi
  diff -u --label "in the document" --label "printed" \
    "$work/expected" "$work/actual" >"$work/diff" && return
  fail "$1: $2"
  cat "$work/diff"
}

# What a man page's source shows.
unescape_man() {
  sed -e 's/^\\&//' -e 's/\\(aq/'\''/g' -e 's/\\(dq/"/g' -e 's/\\-/-/g' \
    -e 's/\\(ha/^/g' -e 's/\\(ti/~/g' -e 's/\\(:u/ü/g' -e 's/\\e/\\/g'
}

# Prints a document with its examples between lines of "```console" and "```".
read_document() {
  case $1 in
    *.md) cat "$1" ;;
    *) sed -e 's/^\.EX$/```console/' -e 's/^\.EE$/```/' "$1" | unescape_man ;;
  esac
}

finish_example() {
  if [ -n "$command" ]; then
    check_example "$place" "$command" "$expected" "$typed"
  fi
  command=''
}

check_document() {
  local line number=0 inside='' typed=''
  local command='' expected='' place='' continues=''
  documents=$((documents + 1))
  directory=$work/run.$documents
  mkdir "$directory" && "$make_samples" "$directory" || exit 2
  cp "$root"/examples/*.{filter,awk,sh} "$directory" || exit 2
  while IFS= read -r line <&3; do
    number=$((number + 1))
    if [[ $inside && $line == '```' ]]; then
      finish_example
      inside=''
    elif [[ ! $inside && $line =~ ^'```console'(.*)$ ]]; then
      begin_block "$1" "${BASH_REMATCH[1]}"
    elif [[ ! $inside || $inside == skip ]]; then
      continue
    elif [[ $line == '$ '* ]]; then
      finish_example
      command=${line#'$ '}
      expected=''
      continues=yes
      place=${1#"$root"/}:$number
    elif [[ $continues && $line == '> '* ]]; then
      command+=$'\n'${line#'> '}
    else
      continues=''
      expected+=$line$'\n'
    fi
  done 3< <(read_document "$1")
  [ -z "$inside" ] || fail "${1#"$root"/}: the last block has no end"
}

# begin_block DOCUMENT WHAT_STANDS_BEHIND_CONSOLE
begin_block() {
  inside=yes
  typed=''
  if [[ $2 =~ typed=\"([^\"]*)\" ]]; then typed=${BASH_REMATCH[1]}; fi
  if [[ $2 =~ needs=([^ ]+) ]] && ! command -v "${BASH_REMATCH[1]}" >/dev/null
  then
    echo "skipped: ${1#"$root"/}:$number needs ${BASH_REMATCH[1]}"
    inside=skip
  fi
}

# A filter file tells its command line, which must be one of those shown.
check_filter_files() {
  local file shown
  for file in "$root"/examples/*.filter; do
    shown=$(sed -n 's/^#   chronex/$ chronex/p' "$file")
    if [ -z "$shown" ] ||
      ! grep -qxF -- "$shown" "$root/examples/README.md"; then
      fail "$(basename "$file"): its command line is not in examples/README.md"
    fi
  done
}

for document in "$root"/README.md "$root"/doc/*.md "$root"/doc/*.1 \
  "$root"/examples/README.md; do
  if [ -e "$document" ]; then check_document "$document"; fi
done
check_filter_files

echo "$examples examples, $failures failed"
[ "$examples" -gt 0 ] && [ "$failures" -eq 0 ]
