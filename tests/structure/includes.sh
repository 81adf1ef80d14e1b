#!/bin/sh
# Dependency runs one way around the driver: which folders' headers the sources of a folder may include.
# usage: includes.sh <source folder>
cd "$1" || exit 1

allowed() {
    case $1 in
    formats) echo 'formats' ;;
    host) echo 'host' ;;
    watch) echo 'formats host watch' ;;
    gateway) echo 'formats host watch gateway' ;;
    sim) echo 'sim' ;;
    tools) echo 'formats host watch tools' ;;
    tools/fgs) echo 'formats host watch tools tools/fgs' ;;
    tools/fgs-gateway) echo 'formats host watch gateway tools tools/fgs-gateway' ;;
    tools/fgs-sim) echo 'formats sim tools tools/fgs-sim' ;;
    esac
}

status=0
for folder in formats host watch gateway sim tools tools/fgs tools/fgs-gateway tools/fgs-sim; do
    for header in $(grep -hoE '^#include ("[^"]+|<tarn_[^>]+)' "$folder"/*.cpp "$folder"/*.h | cut -d' ' -f2 | tr -d '"<' | sort -u); do
        case $header in
        */*) from=${header%/*} ;;
        tarn_fgsseries.h)
            case $folder in
            formats | sim | tools/fgs-sim) from=driver ;;
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
