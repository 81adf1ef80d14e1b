#!/bin/sh
# tests/gateway/sparkplug.md against the tree: each of the 162 statements stands there once, and has a test that is there or
# a reason in words.
# usage: sparkplug.sh <source folder>
cd "$1" || exit 1
document=tests/gateway/sparkplug.md
statements=162
status=0

rows() {
    grep -E '^\| `[a-z0-9-]+` \| ' "$document"
}

rows | cut -d'`' -f2 | sort | uniq -c | awk -v document="$document" -v statements="$statements" '
$1 != 1 { print document ": " $2 " stands " $1 " times"; failed = 1 }
END {
    if (NR != statements)
        print document ": " NR " statements instead of " statements
    exit failed || NR != statements
}' || status=1

rows | awk -F' [|] ' -v document="$document" '
{ sub(/ *[|]$/, "", $3) }
$2 == "" || $3 !~ /[A-Za-z]/ { print document ": " $1 " has no words, or neither a test nor a reason"; failed = 1 }
END { exit failed }' || status=1

for test in $(rows | grep -oE '`[A-Za-z0-9]+\.[A-Za-z0-9]+`' | tr -d '`' | sort -u); do
    suite=${test%.*} name=${test#*.}
    grep -rqE "TEST(_F|_P)?\($suite, *$name\)" tests/gateway || {
        echo "$document names $test, which is no test"
        status=1
    }
done
exit $status
