#!/bin/sh
# Dependency runs one way around the driver: which folders' headers the sources of a folder may include.
# usage: includes.sh <source folder>
cd "$1" || exit 1

allowed() {
    case $1 in
    host) echo 'host' ;;
    tools/fgs) echo 'host tools/fgs' ;;
    tools/fgs-sim) echo 'tools/fgs-sim' ;;
    esac
}

status=0
for folder in host tools/fgs tools/fgs-sim; do
    for header in $(grep -hoE '^#include "[^"]+"' "$folder"/*.cpp "$folder"/*.h | cut -d'"' -f2 | sort -u); do
        case $header in
        */*) from=${header%/*} ;;
        tarn_fgsseries.h) [ "$folder" != tools/fgs-sim ] && continue || from=driver ;;
        *) from=$folder ;;
        esac
        case " $(allowed $folder) " in
        *" $from "*) ;;
        *) echo "$folder includes $header" && status=1 ;;
        esac
    done
done
exit $status
