#!/bin/sh
# Dependency runs one way: which folders' headers the sources of a folder may include.
# usage: includes.sh <source folder>
cd "$1" || exit 1

allowed() {
    case $1 in
    driver) echo 'driver image protocol' ;;
    image) echo 'driver image' ;;
    lists) echo 'image' ;;
    protocol) echo 'driver image protocol' ;;
    remote) echo 'image protocol' ;;
    host) echo 'host' ;;
    sim) echo 'sim' ;;
    tools/fgs) echo 'host tools/fgs' ;;
    tools/fgs-sim) echo 'sim tools/fgs-sim' ;;
    esac
}

status=0
for folder in driver image lists protocol remote host sim tools/fgs tools/fgs-sim; do
    for header in $(grep -hoE '^#include ("[^"]+|<tarn_[^>]+)' "$folder"/*.cpp "$folder"/*.h | cut -d' ' -f2 | tr -d '"<' | sort -u); do
        case $header in
        */*) from=${header%/*} ;;
        tarn_fgsseries.h)
            case $folder in
            sim | tools/fgs-sim) from=driver ;;
            *) continue ;;
            esac
            ;;
        *) from=$folder ;;
        esac
        case " $(allowed $folder) " in
        *" $from "*) ;;
        *) echo "$folder includes $header" && status=1 ;;
        esac
    done
done
exit $status
