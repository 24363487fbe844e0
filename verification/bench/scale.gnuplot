# The transfer's time and the tool's memory over the number of pages.
set terminal svg size 720,420 font "sans-serif,13" background "white"
set output svg
set datafile separator ","
set logscale xy
set logscale y2
set key left top
set grid
set xlabel "pages of the image"
set ylabel "transfer, milliseconds"
set y2label "peak resident set, KiB"
set ytics nomirror
set y2tics
set y2range [1000:100000]
plot csv using 1:($2 * ($1 * 281 + 28) / 1e6) axes x1y1 with linespoints pt 7 title "tool", \
     csv using 1:($3 * ($1 * 281 + 28) / 1e6) axes x1y1 with linespoints pt 6 title "lower bound", \
     csv using 1:5 axes x1y2 with linespoints pt 5 title "memory of the tool"
