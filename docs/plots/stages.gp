set terminal svg size 830,580 font "Helvetica,Arial,sans-serif,13" background "#ffffff"
set multiplot layout 2,2 margins 0.075,0.985,0.12,0.93 spacing 0.075,0.16
set yrange [-100:5]; set ytics 20
set label 99 "dB" at graph -0.085, 1.06
ratios = "1:2,2:1 1:3,3:1,2:3,3:2 1:4,4:1 1:6,6:1"
do for [i = 1:4] {
    group = word(ratios, i)
    stages = system("echo " . group . " | tr , ' '")
    top = real(substr(stages, 3, 3))
    set xrange [0:top]
    set xtics top > 4 ? 1 : 0.5
    set title system("echo " . group . " | sed 's/,/, /g'") font ",13" offset 0,-0.4
    set xlabel (i > 2 ? "frequency, in units of the lower Nyquist frequency" : "") offset 0,0.3
    set object 1 rectangle from 1, graph 0 to top, first -60 fc rgb "#f0f0f0" fs solid noborder behind
    # One above the other: where they coincide the last one, thin and black, has a rim.
    plot for [j = 1:words(stages)] data . "/" . word(stages, j) . ".csv" \
        using ($1 * 2 * top):2 with lines lw (j < words(stages) ? 4 : 1) \
        lc rgb (j < words(stages) ? "#a8c8e8" : black) notitle
}
