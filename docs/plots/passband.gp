set terminal svg size 830,380 font "Helvetica,Arial,sans-serif,13" background "#ffffff"
set multiplot layout 1,2 margins 0.075,0.985,0.19,0.91 spacing 0.085,0
set label 99 "dB" at graph -0.085, 1.05
set xlabel "frequency, in units of the lower Nyquist frequency"
set key bottom left
set xrange [0:1]; set yrange [-1.2:0.2]
plot data . "/pass-1:2.csv" using ($1 * 4):2 with lines ls 3 title "1:2, 2:1", \
     data . "/pass-1:3.csv" using ($1 * 6):2 with lines ls 1 title "1:3, 3:1, 2:3, 3:2", \
     data . "/pass-1:4.csv" using ($1 * 8):2 with lines ls 4 title "1:4, 4:1", \
     data . "/pass-1:6.csv" using ($1 * 12):2 with lines ls 2 title "1:6, 6:1", \
     data . "/fir-1:3.csv" using ($1 * 6):2 with lines lc rgb "#a0a0a0" lw 4 title "FIR, 1:3"
set xrange [0.8:1.2]; set yrange [-100:5]; unset key
set object 1 rectangle from 1, -100 to 1.2, -60 fc rgb "#f0f0f0" fs solid noborder behind
plot data . "/fine-fir-1:3.csv" using ($1 * 6):2 with lines lc rgb "#a0a0a0" lw 3 notitle, \
     data . "/fine-1:2.csv" using ($1 * 4):2 with lines ls 3 notitle, \
     data . "/fine-1:3.csv" using ($1 * 6):2 with lines ls 1 notitle, \
     data . "/fine-1:4.csv" using ($1 * 8):2 with lines ls 4 notitle, \
     data . "/fine-1:6.csv" using ($1 * 12):2 with lines ls 2 notitle
