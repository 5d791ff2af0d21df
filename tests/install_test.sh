#!/usr/bin/env bash
# Unpacks the binary archive in a scratch folder and uses it as a host would: every header alone as
# C11 and C++17, and two examples by CMake package and by pkg-config, shared and static.
# With the sources as a subdirectory it is configured only: building them once more takes long.
set -euo pipefail
source_dir=$1 build_dir=$2 cc=$3 # as CMake calls it
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
prefix=$scratch/prefix
example=$source_dir/examples/2_pipe.c any_rate=$source_dir/examples/3_any_rates.c
strict=(-Wall -Wextra -Wpedantic -Werror)

cpack --config "$build_dir/CPackConfig.cmake" -B "$scratch/archive" >/dev/null
mkdir "$prefix"
tar -xzf "$scratch"/archive/rsmpl-*.tar.gz --strip-components=1 -C "$prefix"

(cd "$prefix/include/rsmpl" && find . -name '*.h') | while read -r header; do
    for language in "c -std=c11" "c++ -std=c++17"; do
        [[ $language != c\ * || $header != *_@(iMalloc|CFFT|GeneralResampler).h ]] || continue # C++
        "$cc" -x $language "${strict[@]}" -I "$prefix/include/rsmpl" -fsyntax-only - <<<"#include \"$header\""
    done
done
if find "$prefix/include" -name '*_internal.h' | grep .; then exit 1; fi

check() { # PROGRAM IN OUT: from so many bytes come as many as there have to, and not silence
    head -c "$2" /dev/urandom | "$1" >"$scratch/out.raw"
    [ "$(stat -c %s "$scratch/out.raw")" = "$3" ]
    [ "$(tr -d '\0' <"$scratch/out.raw" | wc -c)" -gt $(($3 * 15 / 16)) ]
}
blocks=(19200 6400) any_length=(88202 32002) # ten of each; 44,101 samples, aligned

consumer() { cmake -S "$source_dir/tests/consumer" -B "$scratch/$1" -DEXAMPLE="$example" -DANY_RATE="$any_rate" -DCMAKE_C_COMPILER="$cc" "${@:2}" >/dev/null; }
# As part of a host the library has no tests, and is optimised whatever the host's build type and flags.
for type in "" None MinSizeRel RelWithDebInfo; do
    consumer from_sources -DSOURCES="$source_dir" -DCMAKE_BUILD_TYPE=$type -DCMAKE_CXX_FLAGS=-O1 -DCMAKE_EXPORT_COMPILE_COMMANDS=ON
    for sources in Kernels.cpp:3 resample_api.cpp:2; do
        [ "$(sed -nE "s/.*\"command\".* -O(\w+) .*${sources%:*}.*/\1/p" "$scratch/from_sources/compile_commands.json" | sort -u)" = "${sources#*:}" ]
    done
done
[ ! -e "$scratch/from_sources/rsmpl/tests" ]
consumer consumer -DCMAKE_PREFIX_PATH="$prefix"
cmake --build "$scratch/consumer" >/dev/null
for kind in shared static; do
    check "$scratch/consumer/with_$kind" "${blocks[@]}"
    check "$scratch/consumer/stream_$kind" "${any_length[@]}"
done

# A library exports what its version script lists, no more and no less, and that is what the
# headers declare: all that is visible outside of the objects but
# for templates of the standard library.
for name in rsmpl rsmpl_stream; do
    listed=$(sed -nE '/global:/,/local:/s/^ *(\w+|"(.*)");$/\1/p' "$source_dir/cmake/$name.map" | tr -d '"' | sort)
    diff <(echo "$listed") <(nm -DC --defined-only "$build_dir/lib$name.so" | sed -n 's/.* [BTW] \(.*\)@@.*/\1/p' | sort -u)
    diff <(echo "$listed") <(readelf -sW "$build_dir/lib$name.a" | sed -nE 's/.* (GLOBAL|WEAK) +DEFAULT +[0-9]+ (\w+)$/\2/p' | c++filt | grep -v ^std:: | sort -u)
done

libdir=$(dirname "$(find "$prefix" -name librsmpl.a)")
export PKG_CONFIG_PATH=$libdir/pkgconfig
for static in "" -static; do
    for module in rsmpl rsmpl-stream; do
        flags=$(pkg-config --cflags --libs ${static:+--static} $module)
        program=$([ $module = rsmpl ] && echo "$example" || echo "$any_rate")
        "$cc" -std=c11 "${strict[@]}" $static "$program" $flags -Wl,-rpath,"$libdir" -o "$scratch/$module"
    done
    check "$scratch/rsmpl" "${blocks[@]}"
    check "$scratch/rsmpl-stream" "${any_length[@]}"
done

# Each example, and each program of the pages, is compiled by the command line on top of it.
(cd "$scratch" && for example in "$source_dir"/{examples,docs/snippets}/*.c*; do
    command=$(sed -nE 's!^[ */]*(c(c|[+]+) .*)!\1!p' "$example")
    [ "$command" ]
    cp "$example" .
    eval "$command"
done)

# ALSA finds the converter and its device, and nothing else in there.
[ ! -e "$build_dir/alsa" ] || ALSA_PLUGIN_DIR=$libdir/alsa-lib ALSA_CONFIG_PATH=/usr/share/alsa/alsa.conf:$prefix/share/alsa/alsa.conf.d/10-rsmpl.conf arecord -v -D rsmpl:null -f S16_LE -r 16000 -s 1 /dev/null 2>&1 | grep "IIR stage 1:3" >/dev/null
[ ! -e "$build_dir/alsa" ] || [ "$(nm -D --defined-only "$libdir"/alsa-lib/*.so | cut -d" " -f3 | paste -sd" ")" = "_snd_pcm_rate_rsmpl_open _snd_pcm_rate_rsmpl_open_conf" ]

# The command runs, on the libraries beside it.
[ ! -e "$build_dir/cli" ] || { "$prefix/bin/rsmpl" selftest && [ "$(ldd "$prefix/bin/rsmpl" | grep -c "$prefix/bin/../lib/")" = 2 ]; }
