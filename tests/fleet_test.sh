#!/bin/sh
# The Ansible role in contrib/ansible: the example playbook run against
# "hosts" that are all this machine, each with its own target and answers.
#   tests/fleet_test.sh PROGRAM
# Exit status 77 when ansible-playbook is missing (ctest counts it skipped).
set -u
program=$(cd "$(dirname "$1")" && pwd)/$(basename "$1")
root=$(cd "$(dirname "$0")/.." && pwd)
failures=0
fail() { echo "FAIL: $*" >&2; failures=$((failures + 1)); }
command -v ansible-playbook >/dev/null || { echo "SKIP: ansible-playbook is missing"; exit 77; }
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
cd "$scratch" || exit 1

# Ansible's own files stay in the scratch directory, and no configuration of
# the machine's or the user's is read.
mkdir -p ansible tmp cache
printf '[defaults]\n' >ansible/ansible.cfg
export ANSIBLE_CONFIG="$scratch/ansible/ansible.cfg" ANSIBLE_HOME="$scratch/ansible"
export ANSIBLE_LOCAL_TEMP="$scratch/ansible/local" ANSIBLE_REMOTE_TEMP="$scratch/ansible/remote"
export ANSIBLE_NOCOLOR=1 ANSIBLE_STDOUT_CALLBACK=default XDG_CACHE_HOME="$scratch/cache"
site=$root/contrib/ansible/site.yml

# The role and the playbook pass the syntax check and, where it is there, the
# linter.
printf 'guestbook:\n  hosts:\n    alpha:\n' >syntax.yml
ansible-playbook --syntax-check -i syntax.yml "$site" >lint.out 2>&1 || fail "syntax check: $(cat lint.out)"
if command -v ansible-lint >/dev/null; then
  (cd "$root/contrib/ansible" && ansible-lint --offline --nocolor site.yml hosts.yml roles/instkit) \
    >lint.out 2>&1 || fail "ansible-lint: $(cat lint.out)"
else
  echo "ansible-lint is missing: the role is not linted"
fi

"$root/ship/bundle" -o guestbook.run "$root/example/product" "$program" >/dev/null || fail "bundle"
head -c 100000 guestbook.run >damaged.run
# beta installs from the product directory with a program that notes the
# modes of its answers file and of that file's directory before it runs the
# installer as ./install.
mkdir real && ln -s "$program" real/install
cat >noting-installer <<EOF
#!/bin/sh
prev=
for arg; do
  if [ "\$prev" = -answers ]; then
    echo "\$(stat -c %a "\$arg") \$(stat -c %a "\$(dirname "\$arg")") \$arg" >>"$scratch/answers-seen"
  fi
  prev=\$arg
done
exec "$scratch/real/install" "\$@"
EOF
chmod +x noting-installer
owner="$(id -un):$(id -gn)"
mkdir alpha beta gamma
: >gamma/in-the-way

# inventory [AGAIN]: alpha from the bundle, beta from the product directory,
# each with answers of its own, both taking the suggested action; AGAIN
# makes beta install into a new target for a user that does not exist, and
# adds gamma's install below a file (a failed copy it tolerates), delta's
# answers that cannot be written and epsilon's damaged bundle.
inventory() {
  cat <<EOF
guestbook:
  vars:
    ansible_connection: local
    ansible_python_interpreter: "{{ ansible_playbook_python }}"
    instkit_fetch_dir: $scratch/reports
    instkit_tmp_dir: $scratch/tmp
    instkit_bundle: $scratch/guestbook.run
  hosts:
    alpha:
      instkit_state_dir: $scratch/alpha/state
      instkit_answers: {target_dir: $scratch/alpha/site, title: "Alpha's book: sign, please", owner: "$owner"}
    beta:
      instkit_bundle: ""
      instkit_product_dir: $root/example/product
      instkit_program: $scratch/noting-installer
      instkit_state_dir: $scratch/beta/state
EOF
  if [ -z "${1-}" ]; then
    echo "      instkit_answers: {target_dir: $scratch/beta/site, title: Beta visitors sign here, conf_name: visitors, owner: \"$owner\"}"
    return
  fi
  cat <<EOF
      instkit_action: install
      instkit_answers: {target_dir: $scratch/beta/site2, owner: no-such-user-4711}
    gamma:
      instkit_state_dir: $scratch/gamma/state
      instkit_fail_on_copy_error: false
      instkit_answers: {target_dir: $scratch/gamma/in-the-way/site, owner: "$owner"}
    delta:
      instkit_state_dir: $scratch/delta/state
      instkit_answers: {target_dir: $scratch/delta/site, title: "two\\nlines"}
    epsilon:
      instkit_bundle: $scratch/damaged.run
      instkit_state_dir: $scratch/epsilon/state
EOF
}
inventory >hosts.yml
inventory again >again.yml

# play NAME INVENTORY [OPTION]: runs the playbook into NAME.out, its status
# into NAME.status.
play() {
  ansible-playbook -i "$2" "$site" ${3:+"$3"} >"$1.out" 2>&1
  echo $? >"$1.status"
}
# result NAME HOST TASK: what the run NAME showed for HOST at TASK, on one
# line: "changed: [alpha] => { "msg": "..." }".
result() {
  awk -v task="TASK [instkit : $3]" -v host="[$2]" '
    index($0, "TASK [") == 1 || index($0, "PLAY RECAP") == 1 { on = index($0, task) == 1; next }
    on && index($0, host) { shown = 1 }
    shown { printf "%s ", $0 }
    shown && $0 == "}" { exit }' "$1.out"
}
# expect NAME HOST RESULT [TEXT [TASK]]: HOST's result at TASK (by default,
# the outcome) is RESULT (ok, changed, fatal) and its message holds TEXT.
expect() {
  got=$(result "$1" "$2" "${5:-Outcome on this host}")
  case $got in
    "$3: [$2]"*"${4-}"*) ;;
    *) fail "$1: $2 should be $3${4:+ with '$4'}: ${got:-nothing}; see below"; cat "$1.out" >&2 ;;
  esac
}
# report HOST CONDITION: the report fetched for HOST is JSON, r, for which
# the Python CONDITION holds.
report() {
  python3 - "$scratch/reports/$1/report.json" "$2" <<'EOF' || fail "report of $1: not $2"
import json, sys
with open(sys.argv[1]) as f:
    r = json.load(f)
sys.exit(0 if eval(sys.argv[2]) else 1)
EOF
}
# The working directories are gone, answers files included, and each answers
# file was the owner's only, in a directory of the owner's only.
no_leftovers() {
  [ -z "$(ls -A tmp)" ] || fail "$1: left $(ls -A tmp) in the temporary directory"
  [ -s answers-seen ] || fail "$1: beta's installer was given no answers file"
  grep -v '^600 700 ' answers-seen && fail "$1: answers files open to others"
  : >answers-seen
}
tree_hash() {
  find alpha beta reports -printf '%p %m %U %G %s %T@ %l\n' | sort
  find alpha beta reports -type f -exec sha256sum {} + | sort
}

# Both hosts install with their own answers: the menu's suggestion is an
# install where the product is not found.
play install hosts.yml
[ "$(cat install.status)" = 0 ] || fail "the first run ended with $(cat install.status)"
expect install alpha changed "install succeeded: 37 files"
expect install beta changed "install succeeded: 37 files"
[ "$(cat alpha/site/etc/title)" = "Alpha's book: sign, please" ] || fail "alpha's title"
[ "$(cat beta/site/etc/title)" = "Beta visitors sign here" ] || fail "beta's title"
[ -f beta/site/etc/visitors.conf ] && [ ! -e alpha/site/etc/visitors.conf ] || fail "the settings files' names"
for host in alpha beta; do
  report $host 'r["action"] == "install" and r["outcome"] == "succeeded" and r["copy"]["files"] == 37'
  [ "$(stat -c %a $host/state/report.json)" = 600 ] || fail "$host's report can be read by others"
  grep -q "Copy script completed successfully" $host/state/install.log || fail "$host's log was not kept"
done
no_leftovers install

# Check mode: each host tells what its upgrade would do, and nothing changes,
# on the hosts or among the fetched reports.
tree_hash >before
play check hosts.yml --check
tree_hash >after
[ "$(cat check.status)" = 0 ] || fail "the check ended with $(cat check.status)"
cmp -s before after || fail "check mode changed: $(diff before after)"
expect check alpha changed "dry run of the upgrade, nothing changed: 10 commands run"
expect check beta changed "made 0 directories and 1 file, replaced 8 files"
no_leftovers check

# Again: alpha with the same answers, where the suggestion is now an
# upgrade, which copies the files again and counts them, so alpha changed.
# beta installs into a new target for a user that does not exist: its copy
# fails with the installer's error text while the others go on. gamma's
# failed copy, which copied nothing, is tolerated: ok. delta's answers cannot
# be written, and nothing runs for it. epsilon's bundle refuses to run and
# leaves no report.
play again again.yml
[ "$(cat again.status)" = 2 ] || fail "a run with failed hosts ended with $(cat again.status)"
expect again alpha changed "upgrade succeeded: 16 files"
[ "$(cat alpha/site/etc/title)" = "Alpha's book: sign, please" ] || fail "alpha's title after the upgrade"
expect again beta fatal "install copy-failed (exit status 4): copy script line 32: No files handled"
expect again gamma ok "Warning: install copy-failed, not failing the host"
expect again gamma ok "copy script line 19: No destination directories found, Not a directory"
expect again delta fatal "title: the value holds a line break" "Refuse variables the installer cannot be given"
[ ! -e delta ] || fail "delta ran"
expect again epsilon fatal "no readable report (exit status 1)"
expect again epsilon fatal "the bundle is damaged"
report alpha 'r["action"] == "upgrade" and r["outcome"] == "succeeded"'
report beta 'r["outcome"] == "copy-failed" and r["status"] == 4 and r["copy"]["failed_commands"][0]["line"] == 32'
report gamma 'r["outcome"] == "copy-failed" and r["status"] == 0 and r["copy"]["files"] == 0'
no_leftovers again

[ $failures -eq 0 ] && echo "fleet: all checks passed"
exit $((failures != 0))
