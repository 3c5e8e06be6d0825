# What both walks through a bare root share.

set -euo pipefail
export TZ=UTC

fail() {
  echo "FAILED: $*"
  exit 1
}

# try WHAT COMMAND...: what the command prints is shown only if it fails.
try() {
  local what=$1 status
  shift
  # Where a status is looked at, bash lets failures inside pass.
  set +e
  (set -e; "$@") >/tmp/tried 2>&1
  status=$?
  set -e
  [ $status = 0 ] || {
    cat /tmp/tried
    fail "$what"
  }
  echo "  $what ($SECONDS s)"
}

# The tools of the tests; in a locale that exists, which is not what is tested.
install_tools() {
  export DEBIAN_FRONTEND=noninteractive
  LC_ALL=C.UTF-8 apt-get update -qq
  LC_ALL=C.UTF-8 apt-get install -y -qq --no-install-recommends "$@"
}

# tree DIRECTORY...: all that is there.
tree() { find "$@" | sort; }

# The program is found by its name, has its manual, and says its version.
check_installed() {
  local version
  version=$(chronex -version)
  [[ $version == "KORVALINE X.$1 "* ]] || fail "$version is not version $1"
  [[ $(chronex-trail --version) == *"$version" ]] ||
    fail "chronex-trail is not of version $1"
  local program
  for program in chronex chronex-trail; do
    man "$program" | grep -q "KORVALINE X.${1%.b*} " ||
      fail "the manual of $program is not that of version $1"
  done
}

# check_links DIRECTORY: links between installed documents lead somewhere.
check_links() {
  local document link
  for document in "$1"/*.md "$1"/examples/*.md; do
    while IFS= read -r link; do
      [ -e "$(dirname "$document")/$link" ] ||
        fail "$document has a link to $link, which is not there"
    done < <(grep -o '](\([^)#]*\)' "$document" | sed 's/^](//' | grep -v ://)
  done
  if grep -nE 'scripts/|build/|<!--' "$1/README.md" "$1/examples/README.md"; then
    fail "what is only in the source tree is in a document"
  fi
}
