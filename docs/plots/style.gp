# What all pictures share.  Colours differ in lightness, too, and lines in their dashes.
black = "#000000"; blue = "#1f5fa8"; orange = "#e08a1e"; green = "#58b09c"; grey = "#b0b0b0"
set style line 1 lc rgb black lw 1.6 dt 1
set style line 2 lc rgb blue lw 1.6 dt (12, 4)
set style line 3 lc rgb orange lw 1.8 dt 1
set style line 4 lc rgb green lw 1.6 dt (3, 3)
set style line 9 lc rgb "#808080" lw 1 dt (2, 3)
set border 3 lc rgb "#404040" lw 0.8
set grid xtics ytics lc rgb "#d8d8d8" lw 0.5 dt 1
set tics nomirror out scale 0.5
set xtics offset 0,0.3
set key font ",12" samplen 3 spacing 1.1 noopaque
set datafile separator ","
