set terminal svg size 830,340 font "Helvetica,Arial,sans-serif,12" background "#ffffff"
set datafile separator whitespace
set multiplot layout 1,5 margins 0.135,0.99,0.15,0.9 spacing 0.012,0
set style fill solid noborder
set xrange [0:48]; set xtics 10 font ",11"
cut(ns) = ns > 36 ? 36 : ns
set yrange [-0.6:8.6]
unset key; set border 1
unset grid; set grid xtics lc rgb "#d8d8d8" lw 0.5
jobs = "'48 to 16 kHz' '16 to 48 kHz' '32 to 48 kHz' '48 to 32 kHz' '48 to 8 kHz'"
do for [i = 1:5] {
    if (i == 1) {
        set ytics scale 0 ("rsmpl" 8, "rsmpl, FIR" 7, "swresample" 6, "soxr LQ" 5, "soxr HQ" 4, \
            "speexdsp 4" 3, "zita" 2, "liquid-dsp" 1, "libsamplerate" 0)
    } else {
        unset ytics
    }
    set title word(jobs, i) font ",13" offset 0,-0.6
    set xlabel (i == 3 ? "ns per input sample" : "") offset 0,0.4
    plot data . "/bars" index i - 1 using (0):1:(0):(cut($2)):($1 - 0.36):($1 + 0.36):($1 == 8 ? 0x1f5fa8 : $1 == 7 ? 0x7fb0dc : 0xb8b8b8) \
            with boxxyerrorbars lc rgb variable, \
         data . "/bars" index i - 1 using (cut($2) + 1):1:(sprintf($2 < 10 ? "%.1f" : $2 > 36 ? "... %.0f" : "%.0f", $2)) \
            with labels left font ",11"
}
