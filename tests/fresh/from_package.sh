# A new user with the package alone, on a bare Debian 12, as root.

. "$(dirname "$0")/fresh.sh"
cd "$(dirname "$0")"
export DEBIAN_FRONTEND=noninteractive

try "tools for the tests" install_tools expect bash-completion zsh man-db
tree /usr /etc >/tmp/before
try "installation" apt-get install -y -qq ./chronex_*.deb
version=$(dpkg-query -W -f '${Version}' chronex)
try "program and manual" check_installed "${version%-*}"
try "documents" check_links /usr/share/doc/chronex

report() {
  cp -r /usr/share/doc/chronex/examples /tmp/examples
  cd /tmp/examples
  chronex -r -f limit-raised.filter shop.7-1 shop.7-2 | grep -q 'user{BOB}'
}
json() {
  cd /tmp/examples
  chronex-trail json shop.7-1 shop.7-2 | grep -q '"user":"BOB"'
}
try "report on the samples" report
try "events of the samples" json
try "completion in bash" expect completion_test.exp bash
try "completion in zsh" expect completion_test.exp zsh

# What came along with it goes with it.
try "purge" apt-get autoremove -y -qq --purge chronex
tree /usr /etc | diff /tmp/before - || fail "purge left or took something"
