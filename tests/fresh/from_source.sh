# A new user with the source tree, on a bare Debian 12, as root.

. "$(dirname "$0")/fresh.sh"
cd "$(dirname "$0")/../.."
build=build/release

wrong_usage() {
  local status=0
  scripts/demo --encryptd || status=$?
  [ $status = 2 ] || fail "a wrong argument gives status $status"
  status=0
  su nobody -s /bin/sh -c scripts/demo || status=$?
  [ $status = 1 ] || fail "no right to install gives status $status"
}
wrong_usage >/tmp/tried 2>&1 || fail "wrong usage: $(cat /tmp/tried)"
grep -q 'scripts/demo --encrypted' /tmp/tried || fail "demo does not tell usage"
grep -q 'there is no sudo.*As root' /tmp/tried || fail "no word about sudo"
echo "  wrong usage is told"

try "demo" scripts/demo
grep -q 'DBDELETE SHOP.ORDERS' /tmp/tried || fail "the demo shows no report"
grep -q '"after":{"CUSTNO":1001,"LIMIT":"12000"}' /tmp/tried ||
  fail "the demo shows no JSON"
grep -q 'export PATH="/srv/chronex/build' /tmp/tried ||
  fail "the demo does not say how to call the program"
if grep -i locale /tmp/tried; then fail "demo: words about locales"; fi

# Behind the demo, an installation works whole or leaves nothing.
try "tools for the tests" install_tools expect bash-completion zsh man-db
tree /usr/local >/tmp/before
mv $build/installation/README.md /tmp
if cmake --install $build >/tmp/tried 2>&1; then
  fail "an installation without README works"
fi
tree /usr/local | cmp - /tmp/before || fail "half an installation"
mv /tmp/README.md $build/installation
try "installation" cmake --install $build
version=$(sed -n '1s/^chronex (\(.*\)-.*/\1/p' packaging/changelog)
try "installed program and manual" check_installed "$version"
try "installed documents" check_links /usr/local/share/doc/chronex
try "completion in bash" expect tests/fresh/completion_test.exp bash
try "completion in zsh" expect tests/fresh/completion_test.exp zsh

if (cd $build && cpack) >/tmp/tried 2>&1; then
  fail "cpack makes a package although it cannot know the dependencies"
fi
grep -q 'install dpkg-dev' /tmp/tried || fail "cpack does not say what it lacks"
try "package" scripts/package
try "removal" cmake --build $build --target uninstall
tree /usr/local | diff /tmp/before - || fail "removal left or took something"

try "tools for the package" install_tools lintian
try "lintian" env LC_ALL=C.UTF-8 lintian --fail-on error $build/package/*.deb
cat /tmp/tried
