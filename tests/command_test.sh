#!/usr/bin/env bash
# Runs the command $1 as a user would, on files made by sox, beside the example $2 on raw ones.
set -euo pipefail
# Root without what makes root pass all permissions.
[ "$UID" != 0 ] || [ $# = 3 ] || exec setpriv --bounding-set=-dac_override,-dac_read_search "$0" "$@" now
rsmpl=$(realpath "$1") interleaved=$(realpath "$2")
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
cd "$scratch"

fail() { echo "FAILED: $*"; exit 1; }
make() { sox -R -n -r "${rate:-48000}" -b 16 "$1" synth "${@:2}"; }
raw() { sox "$1" -t raw -; }

# Every tail length, in stereo: what the example makes of the raw samples.
for frames in 1 17 960 961 1919 5000; do
    make 1.wav "${frames}s" whitenoise gain -12
    make 2.wav "${frames}s" sine 300 gain -12
    sox -M 1.wav 2.wav in.wav
    [ "$("$rsmpl" in.wav out.wav)" = "frames in $frames at 48000 Hz, frames out $(((frames + 2) / 3)) at 16000 Hz, channels 2, samples wrapped around 0" ] && [ "$(soxi -r out.wav)" = 16000 ] ||
        fail "$frames frames"
    cmp <(raw in.wav | "$interleaved") <(raw out.wav)
done

# Other formats come down to the same 16 bits; floats beyond full scale clip.
sox in.wav -b 24 24.flac
sox in.wav -e floating-point float.wav
au() { printf ".snd\0\0\0\30\xff\xff\xff\xff\0\0\0\\$1\0\0\xbb\x80\0\0\0\\${2:-1}"; } # ENCODING [CHANNELS]
{ au 6; printf '\x40\x60\0\0\xc0\x60\0\0'; head -c 400 /dev/zero; } >loud.au # 3.5, -3.5, 0 ...
{ au 3; printf '\x7f\xff\x80\0'; head -c 200 /dev/zero; } >clipped.au
for pair in "in.wav 24.flac" "in.wav float.wav" "clipped.au loud.au"; do
    for file in $pair; do "$rsmpl" "$file" "$file.out" >line; done
    cmp ${pair% *}.out ${pair#* }.out
done

# Steps, which overshoot by 1.16845648: an output from 32768 on, or from -32769 down, counts in any
# channel.  The advice leaves 4 units for rounding; what clipped on its way in wants the worst case.
while read -r encoding word answer; do
    { au "$encoding" 2; printf "${word//[0-9a-f]/0}$word%.0s" {1..480}; } >step.au
    "$rsmpl" step.au out.wav >line
    grep -q "around $answer$" line || fail "$word: $(cat line)"
done <<'END'
3 \x6d\x8b 0
3 \x6d\x8c 1: turn the input down, 0.1 dB is safe
3 \x6e\xcd 1: turn the input down, 0.2 dB is safe
3 \x92\x74 0
3 \x92\x73 1: turn the input down, 0.1 dB is safe
6 \x3f\x80\0\0 .*: turn the input down, 1.4 dB is safe
6 \x41\0\0\0 .*: turn the input down, 28.2 dB is safe
END

# A link is written through, an older file's mode kept, a new one's is the user's.
(umask 027; "$rsmpl" 1.wav new.wav; umask 077; ln -s new.wav written.wav; "$rsmpl" 2.wav written.wav; "$rsmpl" 2.wav out.wav) >line
cmp new.wav out.wav
[ -L written.wav ] && [ "$(stat -c %a new.wav)" = 640 ] || fail "link or mode"
cp 1.wav ./-; "$rsmpl" - out.wav >line </dev/null # a file like others

# What goes wrong is said in one line and leaves everything as it was.
rate=96000 make 96.wav 0.1 sine 100; make long.wav 24 sine 100
head -c -200 24.flac >cut.flac; touch empty.wav line errors
sox 1.wav silent.wav trim 0 0s
sox -M 1.wav{,,,}{,,,} 16.wav; "$rsmpl" 16.wav sixteen.wav >line
sox -M 1.wav 16.wav 17.wav
ln -s 1.wav link.wav; ln -s nothing dangling.wav
mknod full c 1 7 2>/dev/null || ln -s /dev/full full # one of our own is safe from mistakes
mknod null c 1 3 2>/dev/null || ln -s /dev/null null; "$rsmpl" 1.wav null >line
mkdir -m 555 closed; cp 1.wav fixed.wav; cp 1.wav secret.wav; chmod 444 fixed.wav; chmod 0 secret.wav
echo "not audio" | tee text.wav >kept.wav
before=$(ls -A; cat kept.wav)
refused() { # STATUS MESSAGE ARGUMENT...
    local status=0
    "$rsmpl" "${@:3}" >line 2>errors || status=$?
    [ "$status" = "$1" ] && [ "$(wc -l <errors)" = 1 ] && [ ! -s line ] || fail "${*:3}: $status"
    [[ $(cat errors) == "rsmpl: $2"* ]] || fail "$(cat errors), not $2"
    [ "$(ls -A; cat kept.wav)" = "$before" ] || fail "${*:3} left something behind"
}
refused 1 "no.wav: No such file" no.wav o.wav
refused 1 "text.wav: not a readable audio file" text.wav o.wav
refused 1 "empty.wav: the file is empty" empty.wav o.wav
refused 1 "silent.wav: the file holds no audio" silent.wav o.wav
refused 1 "96.wav: the sample rate is 96000 Hz; only 48000 Hz is accepted" 96.wav o.wav
refused 1 "cut.flac: " cut.flac o.wav
refused 1 "17.wav: there are 17 channels; 1 to 16 are accepted" 17.wav o.wav
refused 1 ".: Is a directory" . o.wav
refused 1 "secret.wav: Permission denied" secret.wav o.wav; refused 1 "fixed.wav: Permission denied" 1.wav fixed.wav
refused 1 "closed/o.wav: Permission denied" 1.wav closed/o.wav
refused 1 "no/o.wav: No such file" 1.wav no/o.wav
refused 1 "link.wav: output and input are the same file" 1.wav link.wav
refused 1 "dangling.wav: a symbolic link that leads nowhere" 1.wav dangling.wav
refused 1 "full: " 1.wav full
# Half a megabyte is what the thread sanitizer needs for itself.
(ulimit -f 600; refused 1 "o.wav: " long.wav o.wav; refused 1 "kept.wav: " long.wav kept.wav)
refused 2 "IN is required"; refused 2 "OUT is required" 1.wav
refused 2 "" 1.wav o.wav third; refused 2 "" --loud 1.wav o.wav
"$rsmpl" --help >line && grep -q OUT line || fail "no help"
exec 4> >(:); wait $! # a pipe that nobody reads
! "$rsmpl" 1.wav out.wav >full 2>errors && ! env --default-signal "$rsmpl" 1.wav out.wav >&4 2>>errors &&
    [ "$(grep -c "^rsmpl: standard output: " errors)" = 2 ] || fail "no room, no reader"

# A signal ends a conversion that waits for the rest of a pipe, one that is ignored does not.
mkfifo slow.au; before=$(ls -A); ulimit -c 0
for case in "HUP 129" "INT 130" "QUIT 131" "TERM 143" "XCPU 152" "HUP 0 --ignore-signal=HUP"; do
    read -r signal expected ignored <<<"$case"
    exec 3<>slow.au; { au 3; head -c 4000 /dev/zero; } >&3
    env --default-signal $ignored "$rsmpl" slow.au out.wav >line 3>&- & converting=$!
    until ls -A | grep -q '^\.rsmpl-'; do sleep 0.1; done
    kill -$signal $converting; exec 3>&-; result=0; wait $converting || result=$?
    [ "$result $(ls -A)" = "$expected $before" ] || fail "$case: $result, $(ls -A)"
done
