#!/usr/bin/env bash
# Runs what the page $2 says, with the command $1, on a corpus of 120 files, three jobs, one file bad at
# first, and two hosts that are this machine.
set -euo pipefail
rsmpl=$(realpath "$1") page=$(realpath "$2")
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
cd "$scratch"
mkdir -p bin corpus/{a,b}
ln -s "$rsmpl" bin/rsmpl
# Parallel's ssh: HOST COMMAND; or for its questions, HOST -- COMMAND.
printf '#!/bin/sh\necho "$1" >>"%s/asked"\nshift\n[ "$1" != -- ] || shift\nexec sh -c "$*"\n' "$scratch" >bin/ssh
chmod +x bin/ssh
# A login sets SHELL, a CI may not; Parallel then loses what jobs exit with.
export SHELL=/bin/sh PATH=$scratch/bin:$PATH PARALLEL_SSH=$scratch/bin/ssh HOME=$scratch PARALLEL=--will-cite
printf 'one\ntwo\n' >hosts

fail() { echo "FAILED: $*"; cat "$scratch"/{said,log} || true; exit 1; }
block() { # N: the page's N-th block
    bash -euo pipefail -c "$(awk -v n="$1" '/^```/ { on = !on; n -= on; next } on && n == 0' "$page")" >said 2>&1
}
outputs() { (cd out && find . -type f | sort | xargs md5sum); }

sox -R -n -r 48000 -b 16 corpus/a/1.wav synth 0.1 sine 300 gain -6
for i in {2..60}; do cp corpus/a/1.wav corpus/a/$i.wav; done
cp corpus/a/* corpus/b
block 1 && block 2 || fail "one machine"
grep -q "^converted 0, skipped 120, failed 0" said || fail "the second time"
block 3 || fail "with a report"
[ "$(grep -c '"frames_out":1600,' report.json)" = 120 ] || fail "report"
outputs >wanted
[ "$(wc -l <wanted)" = 120 ] || fail "not all"

rm -r out; mkdir out; mv corpus/b/2.wav good.wav; echo bad >corpus/b/2.wav
! block 4 || fail "a bad file went unnoticed"
grep -q "rsmpl: corpus/b/2.wav: not a readable audio file" said || fail "not named"
[ "$(awk 'NR > 1 { print $7 }' log | sort | tr '\n' ' ')" = "0 0 1 " ] || fail "jobs"
[ "$(find out -type f | wc -l)" = 119 ] && [ "$(sort -u asked | tr '\n' ' ')" = "one two " ] || fail "others"
mv good.wav corpus/b/2.wav
block 5 || fail "resumed"
outputs | cmp - wanted || fail "other outputs"
[ "$(wc -l <log)" = 5 ] || fail "more than one job was done again"
