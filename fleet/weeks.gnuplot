# Draws the result of weeks.sql:
#
#     psql -d fleet --csv -o weeks.csv -f fleet/weeks.sql
#     gnuplot -e "weeks='weeks.csv'" fleet/weeks.gnuplot > weeks.svg

set terminal svg size 800,420 font "sans-serif,13" background "white"
set datafile separator comma
set datafile columnheaders
weekCount = system("wc -l < " . weeks) - 1
labelEvery = ceil(weekCount / 12.0)
label(row, date) = int(row) % labelEvery == 0 ? date[6:10] : ""
set xtics nomirror
set xrange [-0.3:weekCount - 0.7]
set yrange [0:*]
set ytics nomirror
set grid ytics linecolor rgb "#dddddd"
set border 3 linecolor rgb "#888888"
set key outside right top
set xlabel "week beginning"
set title "Machines with legacy code, by fix"
set style data linespoints
set pointsize 0.7
plot weeks using 0:2:xtic(label($0, strcol(1))) title "all machines" \
         linecolor rgb "#999999" dashtype 2 pointtype 0, \
     "" using 0:3 title "with legacy code" linecolor rgb "#222222" linewidth 2 pointtype 7, \
     "" using 0:4 title "Manual" linecolor rgb "#d55e00" linewidth 2 pointtype 5, \
     "" using 0:5 title "brew" linecolor rgb "#0072b2" linewidth 2 pointtype 9, \
     "" using 0:6 title "MacPorts" linecolor rgb "#009e73" linewidth 2 pointtype 13
