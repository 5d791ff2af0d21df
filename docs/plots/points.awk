# From speed.tsv: delay and rejection of the settings that scatter.svg shows, with ns and their name.
BEGIN {
    FS = "\t"
    OFS = ","
    split("rsmpl handle=rsmpl, stage/rsmpl FIR stream=rsmpl, FIR/swresample (default)=swresample, default/" \
          "swresample size 40, beta 5.5, cutoff 0.92=swresample, tuned/soxr HQ (default)=soxr HQ/" \
          "soxr LQ to 0.84, no dither=soxr LQ/speexdsp quality 4 (default)=speexdsp 4/zita hlen 32=zita/" \
          "liquid-dsp elliptic IIR, order 8=liquid-dsp, elliptic/liquid-dsp rresamp (default)=liquid-dsp, default/" \
          "libsamplerate sinc, medium=libsamplerate, medium", pairs, "/")
    for (i in pairs)
        shown[substr(pairs[i], 1, index(pairs[i], "=") - 1)] = substr(pairs[i], index(pairs[i], "=") + 1)
}
$1 == "48 to 16" && $2 in shown {
    name = shown[$2]
    gsub(",", "", name)
    print $8, $6 < 0 ? 0 : $6, $3, name, $2 ~ /^rsmpl/ ? 1 : 0
}
