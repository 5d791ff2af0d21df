set terminal pngcairo size 1660,1000 font "DejaVu Sans,21" background "#ffffff"
set datafile separator whitespace
set multiplot layout 2,2 margins 0.055,0.89,0.09,0.95 spacing 0.05,0.105
unset grid
set palette defined (0 "#ffffff", 0.25 "#cfe0ef", 0.5 "#5d9bc9", 0.75 "#a0467c", 1 "#200010") maxcolors 20
set cbrange [-100:0]; unset colorbox
set xrange [0:4]; set yrange [0:8]
set xtics 1
names = "rsmpl linear swresample soxr"
titles = "'rsmpl, stage 1:3' 'linear interpolation' 'swresample, default' 'soxr HQ, not dithered'"
do for [i = 1:4] {
    set title word(titles, i) offset 0,-0.6
    set xlabel (i > 2 ? "s; the tone is at 6 kHz after 1, at 24 after 4" : "") offset 0,0.4
    set ylabel (i % 2 ? "kHz" : "") offset 1.2,0
    if (i == 4) {
        set colorbox user origin 0.91,0.09 size 0.018,0.86
        set label 1 "dB" at screen 0.915,0.975
    }
    plot data . "/sweep-" . word(names, i) matrix using ($1 * 4 / 339):($2 * 8 / 256):3 with image notitle
}
