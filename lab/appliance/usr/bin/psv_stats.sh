#!/bin/sh
# The appliance's publisher of statistics: psv_stats.sh FILE FOLDER takes the finished file over into the folder. Its
# status is 0 when it has.
[ $# -eq 2 ] && mkdir -p "$2" && mv "$1" "$2/"
