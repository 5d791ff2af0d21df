# From speed.tsv: of each system, its fastest setting of equal quality at each job; row, job, ns.
BEGIN {
    FS = "\t"
    rows = split("rsmpl (handle|stage)/rsmpl FIR/swresample/soxr LQ/soxr HQ .default/speexdsp/zita/liquid/libsamplerate", system_, "/")
    split("48 to 16/16 to 48/32 to 48/48 to 32/48 to 8", jobs, "/")
}
$9 == "=" {
    for (row = 1; row <= rows; ++row)
        if ($2 ~ "^" system_[row] && (!((row, $1) in least) || $3 < least[row, $1]))
            least[row, $1] = $3
}
END {
    for (job = 1; job in jobs; ++job) {
        for (row = 1; row <= rows; ++row)
            if ((row, jobs[job]) in least)
                print rows - row, least[row, jobs[job]]
        print "\n"
    }
}
