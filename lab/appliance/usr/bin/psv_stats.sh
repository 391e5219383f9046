#!/bin/sh
# The appliance's publisher of statistics: psv_stats.sh FILE FOLDER takes the finished file over into the folder. Its
# status is 0 when it has. A file of the same second is added to: names have seconds only.
[ $# -eq 2 ] && mkdir -p "$2" && cat "$1" >>"$2/${1##*/}" && rm "$1"
