set terminal svg size 830,460 font "Helvetica,Arial,sans-serif,13" background "#ffffff"
set lmargin at screen 0.075; set rmargin at screen 0.985; set bmargin at screen 0.14; set tmargin at screen 0.92
set logscale x; set xrange [0.05:120]; set yrange [-5:130]
set xtics ("0.1" 0.1, "0.3" 0.3, "1" 1, "3" 3, "10" 10, "30" 30, "100" 100)
set xlabel "ms of delay at 200 Hz, 48 to 16 kHz in calls of 20 ms"
set label 1 "dB of alias rejection; areas and numbers: ns per input sample" at graph -0.04, 1.05
unset key
radius(ns) = 0.4 * sqrt(ns)
file = data . "/points"
text(name, ns) = sprintf("%s, %s", name, sprintf(ns < 10 ? "%.1f" : "%.0f", ns))
below(name) = name eq "liquid-dsp elliptic" || name eq "swresample tuned"
# A stage's delay over its pass band; its filter runs at 48 kHz.
stats data . "/pass-1:3.csv" using ($1 * 6 <= 0.875 ? $4 / 48 : NaN) nooutput; least = STATS_min; most = STATS_max
stats file using (strcol(4) eq "rsmpl stage" ? $2 : NaN) nooutput; rejection = STATS_min
set arrow 1 from least, rejection to most, rejection nohead lw 2.5 dt (6, 3) lc rgb blue back
set label 2 "its delay up to 7 kHz" at 0.75, rejection + 3 center tc rgb blue font ",11"
plot file using 1:(column(5) == 0 ? $2 : NaN):(radius($3)) with points pt 7 ps variable lc rgb "#b8b8b8", \
     file using 1:(column(5) == 1 ? $2 : NaN):(radius($3)) with points pt 7 ps variable lc rgb blue, \
     file using ($1 * (1.1 + 0.055 * radius($3))):(column(5) == 0 ? $2 - (below(strcol(4)) ? 6 : 0) : NaN):(text(strcol(4), $3)) with labels left, \
     file using ($1 * 1.15):(column(5) == 1 ? $2 + (strcol(4) eq "rsmpl stage" ? 4 : 0) : NaN):(text(strcol(4), $3)) with labels left tc rgb blue font ",14"
