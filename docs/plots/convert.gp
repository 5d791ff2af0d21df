set terminal svg size 830,360 font "Helvetica,Arial,sans-serif,13" background "#ffffff"
set datafile separator whitespace
set multiplot layout 1,2 margins 0.06,0.985,0.18,0.9 spacing 0.09,0
set title "near 0" offset 0,-0.5
set xlabel "float, in units of the last bit"; set xrange [-3:3]; set yrange [-3.5:3.5]; set key top left
plot x with lines lc rgb grey lw 3 title "float", \
     data . "/convert" using 1:2 with steps ls 2 title "truncated", \
     data . "/convert" using 1:3 with steps ls 3 title "rounded"
set title "a square wave at full scale, 48 to 16 kHz"
set xlabel "ms"; set xrange [4:6]; set yrange [-50000:75000]; set ytics ("-32768" -32768, "0" 0, "32767" 32767)
set key top right horizontal
plot data . "/wrap" using 1:2 with lines lc rgb grey lw 5 title "floats", \
     data . "/wrap" using 1:3 with linespoints ls 2 pt 7 ps 0.35 title "wrapped", \
     data . "/wrap" using 1:4 with linespoints ls 3 pt 6 ps 0.5 title "clipped"
