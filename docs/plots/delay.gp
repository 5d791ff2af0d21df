set terminal svg size 830,380 font "Helvetica,Arial,sans-serif,13" background "#ffffff"
set lmargin at screen 0.075; set rmargin at screen 0.925; set bmargin at screen 0.18; set tmargin at screen 0.89
set xrange [0:1]; set yrange [1:100]; set logscale y
set y2range [0.0625:6.25]; set logscale y2; set y2tics nomirror
set border 11
set label 1 "group delay in samples of the lower rate" at graph -0.07, 1.07
set label 2 "ms where that is 16 kHz" at graph 1.07, 1.07 right
set xlabel "frequency, in units of the lower Nyquist frequency"
set key at graph 0.02, 0.82 left
plot data . "/fir-1:3.csv" using ($1 * 6):($1 * 6 <= 0.95 ? $4 / 3 : NaN) with lines lc rgb "#a0a0a0" lw 4 title "FIR, all ratios", \
     data . "/pass-1:2.csv" using ($1 * 4):($1 * 4 <= 0.95 ? $4 / 2 : NaN) with lines ls 3 title "1:2, 2:1", \
     data . "/pass-1:3.csv" using ($1 * 6):($1 * 6 <= 0.95 ? $4 / 3 : NaN) with lines ls 1 title "1:3, 3:1, 2:3, 3:2", \
     data . "/pass-1:4.csv" using ($1 * 8):($1 * 8 <= 0.95 ? $4 / 4 : NaN) with lines ls 4 title "1:4, 4:1", \
     data . "/pass-1:6.csv" using ($1 * 12):($1 * 12 <= 0.95 ? $4 / 6 : NaN) with lines ls 2 title "1:6, 6:1"
