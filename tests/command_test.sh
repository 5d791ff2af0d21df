#!/usr/bin/env bash
# Runs the command as a user would, on files made by sox, beside the example on raw samples.
# Usage: command_test.sh RSMPL DOWNSAMPLE
set -euo pipefail
rsmpl=$(realpath "$1") downsample=$(realpath "$2")
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
cd "$scratch"

fail() { echo "FAILED: $*"; exit 1; }
make() { sox -R -n -r "${rate:-48000}" -b 16 "$1" synth "${@:2}"; }
raw() { sox "$1" -t raw - "${@:2}"; }
same() { cmp "$1" "$2" || fail "$1 and $2 differ"; }

# Every tail length: what the library makes of the samples and zeros after them.
for frames in 1 17 960 961 1919 5000; do
    kept=$(((frames + 2) / 3))
    make in.wav "${frames}s" whitenoise gain -12
    line=$("$rsmpl" in.wav out.wav)
    [ "$line" = "frames in $frames at 48000 Hz, frames out $kept at 16000 Hz, channels 1, samples wrapped around 0" ] ||
        fail "$line"
    (raw in.wav; head -c 1920 /dev/zero) | "$downsample" >padded.raw
    head -c $((2 * kept)) padded.raw >expected.raw
    raw out.wav >out.raw
    same expected.raw out.raw
done

# Channels keep their places.
for c in 1 2 3; do
    make "$c.wav" 5000s sine "${c}00" gain -12
    "$rsmpl" "$c.wav" "out$c.wav" >line
done
sox -M 1.wav 2.wav 3.wav three.wav
"$rsmpl" three.wav out.wav >line
for c in 1 2 3; do
    same <(raw out.wav remix "$c") <(raw "out$c.wav")
done

# Other formats come down to the same 16 bits; floats beyond full scale clip.
sox 1.wav -b 24 24.flac
sox 1.wav -e floating-point float.wav
au() { printf ".snd\0\0\0\30\xff\xff\xff\xff\0\0\0\\$1\0\0\xbb\x80\0\0\0\1"; } # ENCODING
{ au 6; printf '\x40\x60\0\0\xc0\x60\0\0'; head -c 400 /dev/zero; } >loud.au # 3.5, -3.5, 0 ...
{ au 3; printf '\x7f\xff\x80\0'; head -c 200 /dev/zero; } >clipped.au
for pair in "1.wav 24.flac" "1.wav float.wav" "clipped.au loud.au"; do
    for file in $pair; do "$rsmpl" "$file" "$file.out" >line; done
    same ${pair% *}.out ${pair#* }.out
done

# A square wave wraps around; turned down by what the line says it does not, by less it does.
make square.wav 0.2 square 500
[[ $("$rsmpl" square.wav out.wav) =~ around\ [1-9][0-9]+:\ turn\ the\ input\ down,\ ([0-9.]+)\ dB ]] || fail wrapping
safe=${BASH_REMATCH[1]}
for change in 0 0.2; do
    sox -D square.wav in.wav gain "$(echo "$change - $safe" | bc)"
    "$rsmpl" in.wav out.wav >line
    [ "$(grep -c 'around 0$' line)" = "$([ $change = 0 ] && echo 1 || echo 0)" ] || fail "$(cat line)"
done

# Floats at eight times full scale: clipped, so that the filter's worst case is safe.
{ au 6; for i in {1..40}; do printf '\x41\0\0\0%.0s' {1..48}; printf '\xc1\0\0\0%.0s' {1..48}; done; } >hot.au
"$rsmpl" hot.au out.wav >line
grep -q 'down, 28.2 dB is safe' line || fail "$(cat line)"

# What goes wrong is said in one line and leaves everything as it was.
rate=44100 make 44.wav 0.1 sine 100
sox 1.wav silent.wav trim 0 0s
sox -M {1,1,1,1,1,1,1,1,1,1,1,1,1,1,1,1,1}.wav 17.wav
ln -s 1.wav link.wav
ln -s nothing dangling.wav
mknod full c 1 7 2>/dev/null || ln -s /dev/full full # one of our own is safe from mistakes
touch empty.wav line errors
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
refused 1 "44.wav: the sample rate is 44100 Hz; only 48000 Hz is accepted" 44.wav o.wav
refused 1 "17.wav: there are 17 channels; 1 to 16 are accepted" 17.wav o.wav
refused 1 ".: Is a directory" . o.wav
refused 1 ".: Is a directory" 1.wav .
refused 1 "no/o.wav: No such file" 1.wav no/o.wav
refused 1 "link.wav: output and input are the same file" 1.wav link.wav
refused 1 "dangling.wav: a symbolic link that leads nowhere" 1.wav dangling.wav
refused 1 "full: " 1.wav full
(ulimit -f 1; refused 1 "o.wav: " 1.wav o.wav; refused 1 "kept.wav: " 1.wav kept.wav)
refused 2 "IN is required"
refused 2 "OUT is required" 1.wav
refused 2 "" 1.wav o.wav third
refused 2 "" --loud 1.wav o.wav
echo "command: all checks passed"
