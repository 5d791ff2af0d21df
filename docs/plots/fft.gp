set terminal svg size 830,380 font "Helvetica,Arial,sans-serif,13" background "#ffffff"
set datafile separator whitespace
set lmargin at screen 0.075; set rmargin at screen 0.985; set bmargin at screen 0.17; set tmargin at screen 0.91
set label 1 "dB" at graph -0.04, 1.05
set xrange [0:512]; set yrange [-180:25]; set xtics 64
set xlabel "bin of 1024"
set key top right
file = data . "/fft"
plot file using 1:3 with lines ls 3 title "101.5 periods, no window", \
     file using 1:4 with lines lc rgb green lw 1.6 dt (5, 2) title "101.5 periods, Hanning", \
     file using 1:5 with lines lc rgb blue lw 1.6 title "101.5 periods, Blackman", \
     file using 1:2 with lines lc rgb black lw 0.8 title "101 periods, no window: rounding alone"
