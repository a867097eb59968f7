# Time against what grows: gnuplot -e "data='points.dat'; what='measured points'; picture='points.png'" growth.gnuplot
set terminal pngcairo size 1000,600 noenhanced font 'sans,11'
set output picture
set logscale xy
set autoscale xfix
set xlabel what
set ylabel 'nanoseconds a call (median)'
set format y '10^{%T}'
set termoption enhanced
set grid
set key outside right top
set tics nomirror
set border 3
stats data using 1 nooutput
plot for [i=0:STATS_blocks-2] data index i using 1:2 with linespoints linewidth 2 pointtype 7 title columnheader(1)
