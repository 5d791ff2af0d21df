set terminal svg size 830,340 font "Helvetica,Arial,sans-serif,13" background "#ffffff"
set datafile separator whitespace
set multiplot layout 1,2 margins 0.07,0.985,0.17,0.9 spacing 0.07,0
set xlabel "ms"; set xrange [0:6]
file = data . "/impulse"
set title "impulse" offset 0,-0.5; set key top right
plot file using 1:2 with lines ls 1 title "stage 1:3", file using 1:4 with lines ls 3 title "FIR 1:3"
set title "step"; set key bottom right; set yrange [-0.2:1.3]
stats file using 3 nooutput; stage = STATS_max
stats file using 5 nooutput
set label 1 sprintf("%.2f", stage) at 0.3, stage + 0.03
set label 2 sprintf("%.2f", STATS_max) at 3.15, STATS_max + 0.05
plot file using 1:3 with lines ls 1 title "stage 1:3", file using 1:5 with lines ls 3 title "FIR 1:3"
