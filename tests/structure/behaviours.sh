#!/bin/sh
# docs/behaviour-places.md against the tree: a row names the files and the functions that carry its mark, 'Deliberate:
# behaviour N.', and no others; every test that a row names is there; docs/behaviour.md tells of the same numbers.
# usage: behaviours.sh <source folder>
cd "$1" || exit 1
page=docs/behaviour.md
document=docs/behaviour-places.md
status=0

# Lines 'number file name' of the code that the rows name; a row that names no function names its file.
named() {
    awk -F' [|] ' '
    /^[|] [0-9]+ [|]/ {
        number = substr($1, 3)
        places = split($2, place, "; ")
        for (i = 1; i <= places; ++i) {
            parts = split(place[i], part, "`")
            for (j = 4; j <= parts || j == 4; j += 2)
                print number, part[2], j <= parts ? part[j] : "-"
        }
    }' "$document"
}

# Lines 'number file declaration': the first lines of what stands at the left margin, with the comment above it, and each
# mark in it.
marked() {
    find driver lists image protocol remote -name '*.cpp' -o -name '*.h' | xargs awk '
    function end() {
        while (match(text, /Deliberate: behaviours? [0-9, ]+/)) {
            numbers = substr(text, RSTART, RLENGTH)
            text = substr(text, RSTART + RLENGTH)
            sub(/.*behaviours? /, "", numbers)
            for (n = split(numbers, number, ", "); n > 0; --n)
                print number[n] + 0, FILENAME, head
        }
        text = head = ""
        depth = inside = body = 0
    }
    FNR == 1 { end() }
    !inside && /^(namespace|extern "C"|[{}#]|$)/ { end(); next }
    !inside && /^\/\// { text = text $0; next }
    {
        inside = 1
        text = text $0
        code = $0
        sub(/\/\/.*/, "", code)
        if (depth == 0)
            head = head " " code
        opened = gsub(/[{]/, "", code)
        body = body || opened
        depth += opened - gsub(/}/, "", code)
        if (depth == 0 && (body || head ~ /; *$/))
            end()
    }'
}

# The two lists against each other. 'A::b' stands for what is declared as A.
{ named | sed 's/^/row /' && marked | sed 's/^/mark /'; } | awk -v document="$document" '
function has(text, name) { return (" " text " ") ~ ("[^A-Za-z0-9_]" name "[^A-Za-z0-9_]") }
function refuse(message) {
    print document ": row " message
    failed = 1
}
$1 == "row" {
    number[++rows] = $2
    file[rows] = $3
    name[rows] = $4
    sub(/::.*/, "", name[rows])
    next
}
{
    found = 0
    for (r = 1; r <= rows; ++r)
        if (number[r] == $2 && file[r] == $3 && (name[r] == "-" || has($0, name[r])))
            found = met[r] = 1
    if (!found)
        refuse($2 " does not name this place in " $3 ":" substr($0, length("mark " $2 " " $3) + 1))
}
END {
    for (r = 1; r <= rows; ++r)
        if (!met[r])
            refuse(number[r] " names " file[r] " " name[r] ", where no mark of it stands")
    exit failed
}' || status=1

for test in $(awk -F'|' '/^\| [0-9]+ \|/ { print $4 }' "$document" | grep -oE '`[A-Za-z0-9_]+\.[A-Za-z0-9_]+`' | tr -d '`' | sort -u); do
    suite=${test%.*} name=${test#*.}
    grep -rqE "TEST(_F|_P)?\($suite, *$name\)" tests || { echo "$document names $test, which is no test"; status=1; }
done

# The numbers that the page and the table tell of.
numbers() {
    sed -nE 's/^\*\*([0-9]+)\.\*\*.*/\1/p' "$page"
    sed -nE 's/^\| ([0-9]+) \|.*/\1/p' "$document"
}
numbers | sort -n | uniq -c | awk -v page="$page" -v document="$document" '
$1 != 2 { print page " and " document " do not both tell of " $2 " once"; failed = 1 }
END { exit failed || NR == 0 }' || status=1
exit $status
