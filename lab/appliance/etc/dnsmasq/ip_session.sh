#!/bin/sh
# The appliance's address script. First argument: 2 puts a LAN address on the host side, 1 hands the WAN address through.
#   ip_session.sh 2 0 0 0 ADDRESS MASK
#   ip_session.sh 1 WAN-ADDRESS WAN-MASK WAN-GATEWAY LAN-ADDRESS LAN-MASK DNS1 DNS2 EXTRA
echo "$*" >>/tmp/ip_session.log

if [ "$1" = 2 ]; then
    /usr/bin/ip -4 addr flush dev srcr2
    /usr/bin/ip addr add "$5/$6" dev srcr2
fi
