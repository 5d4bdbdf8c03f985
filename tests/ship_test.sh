#!/bin/sh
# What a vendor ships and a packager installs: the install rule, the manual
# pages, and one-file bundles made by ship/bundle.
#   tests/ship_test.sh PROGRAM BUILD_DIR
# Exit status 77 when a tool it needs is missing (ctest counts it skipped).
set -u
program=$(cd "$(dirname "$1")" && pwd)/$(basename "$1")
build=$(cd "$2" && pwd)
root=$(cd "$(dirname "$0")/.." && pwd)
failures=0
fail() { echo "FAIL: $*" >&2; failures=$((failures + 1)); }
for tool in mandoc tar gzip sha256sum setsid; do
  command -v "$tool" >/dev/null || { echo "SKIP: $tool is missing"; exit 77; }
done
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

# The install rule: the program under its own name, never bin/install, and
# both manual pages where man finds them.
prefix=$scratch/prefix
cmake --install "$build" --prefix "$prefix" >/dev/null || fail "cmake --install"
[ -x "$prefix/bin/instkit" ] || fail "no bin/instkit"
[ ! -e "$prefix/bin/install" ] || fail "bin/install shadows install(1)"
for page in man1/instkit.1.gz man5/instkit.5.gz; do
  [ -f "$prefix/share/man/$page" ] || fail "no share/man/$page"
done

# The manual pages render without a single warning.
for page in "$root"/man/instkit.1 "$root"/man/instkit.5; do
  out=$(mandoc -T lint -W warning "$page" 2>&1) || fail "mandoc on $page: $out"
  [ -z "$out" ] || fail "mandoc on $page: $out"
done

# A bundle of the example product whose target is a directory of the test's.
target=$scratch/target
product=$scratch/product
cp -R "$root/example/product" "$product"
sed -i "s|^target_dir .*|target_dir $target|" "$product/install.dat"
cd "$scratch" || exit 1
"$root/ship/bundle" -o guestbook.run "$product" "$program" >/dev/null || fail "bundle"
export TMPDIR=$scratch/tmp
mkdir "$TMPDIR"
leftovers() { [ -z "$(ls -A "$TMPDIR")" ] || fail "$1: left $(ls -A "$TMPDIR") in TMPDIR"; }

./guestbook.run -automate >run.out 2>&1 || fail "the bundle's install ended with $?"
for f in VERSION cgi-bin/gb-sign.cgi etc/guestbook.conf htdocs/index.html; do
  [ -f "$target/$f" ] || fail "the bundle did not install $f"
done
grep -q "Copy script completed successfully" install.log || fail "the run's log was not kept"
leftovers "a run"

# The program's exit status comes through.
./guestbook.run -special >/dev/null 2>&1
[ $? -eq 1 ] || fail "-special without a tag did not end with 1"
leftovers "a failed run"

# --list and --extract run nothing.
./guestbook.run --list >list.out || fail "--list"
grep -q ' \./install$' list.out && grep -q ' \./install\.cpy$' list.out || fail "--list: $(cat list.out)"
./guestbook.run --extract unpacked >/dev/null || fail "--extract"
[ -x unpacked/install ] && [ -f unpacked/files/entries.txt ] || fail "--extract did not unpack"
[ ! -e unpacked/install.log ] || fail "--extract ran the program"
leftovers "--list and --extract"

# A damaged bundle is refused before anything is unpacked: one byte of the
# payload changed, and the file cut short.
size=$(wc -c <guestbook.run)
cp guestbook.run flipped.run
printf '\377' | dd of=flipped.run bs=1 seek=$((size - 1000)) conv=notrunc 2>/dev/null
head -c $((size - 1000)) guestbook.run >short.run
chmod +x flipped.run short.run
for bad in flipped short; do
  rm -rf "$target"
  ./$bad.run -automate >bad.out 2>&1
  status=$?
  [ $status -eq 1 ] || fail "$bad.run ended with $status"
  grep -q "the bundle is damaged" bad.out || fail "$bad.run said: $(cat bad.out)"
  [ ! -e "$target" ] || fail "$bad.run installed something"
  leftovers "$bad.run"
done

# Interrupted from the terminal (SIGINT to its process group) while the
# installer waits at the menu: the temporary directory goes too.
mkfifo input
# A job started from a script ignores SIGINT; a terminal's does not.
setsid env --default-signal=INT sh -c 'exec ./guestbook.run <input >int.out 2>&1' &
holder=$!
exec 3>input
for _ in 1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16 17 18 19 20; do
  grep -q "What would you like to do" int.out 2>/dev/null && break
  sleep 0.2
done
grep -q "What would you like to do" int.out || fail "the bundle's menu never came: $(cat int.out)"
kill -INT -"$holder"
wait "$holder"
status=$?
exec 3>&-
[ $status -eq 130 ] || fail "an interrupted bundle ended with $status"
leftovers "an interrupted run"

[ $failures -eq 0 ] && echo "ship: all checks passed"
exit $((failures != 0))
