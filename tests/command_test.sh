#!/usr/bin/env bash
# Runs the command $1 as a user would, on files made by sox, beside the example $2 on raw ones.
set -euo pipefail
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
au() { printf ".snd\0\0\0\30\xff\xff\xff\xff\0\0\0\\$1\0\0\xbb\x80\0\0\0\1"; } # ENCODING
{ au 6; printf '\x40\x60\0\0\xc0\x60\0\0'; head -c 400 /dev/zero; } >loud.au # 3.5, -3.5, 0 ...
{ au 3; printf '\x7f\xff\x80\0'; head -c 200 /dev/zero; } >clipped.au
for pair in "in.wav 24.flac" "in.wav float.wav" "clipped.au loud.au"; do
    for file in $pair; do "$rsmpl" "$file" "$file.out" >line; done
    cmp ${pair% *}.out ${pair#* }.out
done

# A loud channel wraps around, up or down; turned down by what the line says it does not, by
# less it does.
for shift in 0.5 -0.5; do
    make square.wav 0.1 square 500 vol 0.5 dcshift $shift
    sox -M 1.wav square.wav loud.wav trim 0 0.1
    [[ $("$rsmpl" loud.wav out.wav) =~ around\ [1-9][0-9]+:\ turn\ the\ input\ down,\ ([0-9.]+)\ dB ]] ||
        fail "shift $shift"
    for change in 0 0.2; do
        sox -D loud.wav in.wav gain "$(echo "$change - ${BASH_REMATCH[1]}" | bc)"
        "$rsmpl" in.wav out.wav >line
        [ "$(grep -c 'around 0$' line)" = "$([ $change = 0 ] && echo 1 || echo 0)" ] || fail "$(cat line)"
    done
done

# Floats at eight times full scale: clipped, so that the filter's worst case is safe.
{ au 6; for i in {1..40}; do printf '\x41\0\0\0%.0s' {1..48}; printf '\xc1\0\0\0%.0s' {1..48}; done; } >hot.au
"$rsmpl" hot.au out.wav >line
grep -q 'down, 28.2 dB is safe' line || fail "$(cat line)"

# A link is written through, an older file's mode kept, a new one's is the user's.
(umask 027; "$rsmpl" 1.wav new.wav; umask 077; ln -s new.wav written.wav; "$rsmpl" 2.wav written.wav; "$rsmpl" 2.wav out.wav) >line
cmp new.wav out.wav
[ -L written.wav ] && [ "$(stat -c %a new.wav)" = 640 ] || fail "link or mode"
cp 1.wav ./-; "$rsmpl" - out.wav >line </dev/null # a file like others

# What goes wrong is said in one line and leaves everything as it was.
rate=96000 make 96.wav 0.1 sine 100
make long.wav 24 sine 100
head -c -200 24.flac >cut.flac; touch empty.wav line errors
sox 1.wav silent.wav trim 0 0s
sox -M 1.wav{,,,}{,,,} 16.wav; "$rsmpl" 16.wav sixteen.wav >line
sox -M 1.wav 16.wav 17.wav
ln -s 1.wav link.wav
ln -s nothing dangling.wav
mknod full c 1 7 2>/dev/null || ln -s /dev/full full # one of our own is safe from mistakes
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
refused 1 "no/o.wav: No such file" 1.wav no/o.wav
refused 1 "link.wav: output and input are the same file" 1.wav link.wav
refused 1 "dangling.wav: a symbolic link that leads nowhere" 1.wav dangling.wav
refused 1 "full: " 1.wav full
# Half a megabyte is what the thread sanitizer needs for itself.
(ulimit -f 600; refused 1 "o.wav: " long.wav o.wav; refused 1 "kept.wav: " long.wav kept.wav)
refused 2 "IN is required"
refused 2 "OUT is required" 1.wav
refused 2 "" 1.wav o.wav third; refused 2 "" --loud 1.wav o.wav
! "$rsmpl" 1.wav out.wav >full 2>errors && grep -q "^rsmpl: standard output: " errors || fail "no room"

# A signal ends a conversion that waits for the rest of a pipe.
mkfifo slow.au; before=$(ls -A)
{ au 3; head -c 4000 /dev/zero; sleep 9; } >slow.au 2>/dev/null & "$rsmpl" slow.au o.wav & converting=$!
until ls -A | grep -q '^\.rsmpl-'; do sleep 0.1; done
kill $converting; wait $converting && fail "a signal is ignored"
[ "$(ls -A)" = "$before" ] || fail "a signal leaves something behind"
