#!/bin/sh
# docs/behaviour.md against the tree: every number that the code carries is a row, and every test that a row names is
# there.
# usage: behaviours.sh <source folder>
cd "$1" || exit 1
document=docs/behaviour.md
status=0

for number in $(grep -rhoE 'Deliberate: behaviour [0-9]+' driver lists image protocol remote | grep -oE '[0-9]+$' | sort -u); do
    grep -q "^| $number |" "$document" || { echo "$document has no row $number"; status=1; }
done

for test in $(awk -F'|' '/^\| [0-9]+ \|/ { print $6 }' "$document" | grep -oE '`[A-Za-z0-9_]+\.[A-Za-z0-9_]+`' | tr -d '`' | sort -u); do
    suite=${test%.*} name=${test#*.}
    grep -rqE "TEST(_F|_P)?\($suite, *$name\)" tests || { echo "$document names $test, which is no test"; status=1; }
done
exit $status
