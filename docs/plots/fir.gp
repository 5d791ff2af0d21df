set terminal svg size 830,360 font "Helvetica,Arial,sans-serif,13" background "#ffffff"
set multiplot layout 1,2 margins 0.085,0.985,0.19,0.91 spacing 0.1,0
set label 99 "dB" at graph -0.1, 1.05
set xlabel "kHz"; unset key
set xrange [0:22.05]; set yrange [-130:5]
set object 1 rectangle from 8, -130 to 22.05, -71 fc rgb "#f0f0f0" fs solid noborder behind
plot data . "/fir-160:441.csv" using ($1 / 1000):2 with lines ls 1
unset object 1
set xrange [0:8]; set yrange [-0.004:0.004]; set ytics 0.001; set format y "%.3f"
plot data . "/fir-160:441-pass.csv" using ($1 / 1000):2 with lines ls 1
