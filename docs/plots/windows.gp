set terminal svg size 830,380 font "Helvetica,Arial,sans-serif,13" background "#ffffff"
set lmargin at screen 0.075; set rmargin at screen 0.985; set bmargin at screen 0.17; set tmargin at screen 0.91
set label 1 "dB" at graph -0.04, 1.05
set xrange [0:0.5]; set yrange [-110:5]
set xlabel "frequency, in units of the sampling rate"
set key top right
plot data . "/none.csv" using 1:2 with lines ls 3 title "none", \
     data . "/hanning.csv" using 1:2 with lines lc rgb green lw 1.6 dt (5, 2) title "Hanning", \
     data . "/hamming.csv" using 1:2 with lines lc rgb blue lw 1.6 title "Hamming", \
     data . "/blackman.csv" using 1:2 with lines ls 1 title "Blackman"
