# shellcheck shell=bash
# labctl's verbs for the simulated hardware. Sourced; `die` is the caller's.

hw_dir=/run/lab/hw # sfp: the inserted module; phy/: a file per register
phy_log=/tmp/phy.log
phy_status=/sys/bus/i2c/devices/i2c-0/0-0022/reg_phy_status

# address, meaning
soc_registers=(
    0xf2130f84 "mode A: bit 12 is 1G"
    0xf2130f1c "mode B: bit 13 is 10G"
    0xf2130e10 "MAC link at 1G: bit 0"
    0xf2130f0c "MAC link at 10G: bit 0"
)

# Replaced whole, since the module is read anew whenever the file is another one.
verb_sfp() {
    local modules=/lab/hardware/modules
    case ${1:-} in
    none) rm -f "$hw_dir/sfp" && return ;;
    calibrated | uncalibrated) cat "$modules/$1" >"$hw_dir/sfp.new" ;;
    flaky) { cat "$modules/uncalibrated" && echo "fail-every ${2:-97}"; } >"$hw_dir/sfp.new" ;;
    *) die "which module: none, calibrated, uncalibrated or flaky?" ;;
    esac
    mv "$hw_dir/sfp.new" "$hw_dir/sfp"
}

verb_phy() {
    [[ $# -eq 0 || $# -eq 2 && $1 =~ ^[0-9]+\.[0-9a-f]{4}$ && $2 =~ ^[0-9a-f]{1,4}$ ]] ||
        die "which register and value? such as 3.0020 1001"
    if [ $# -eq 2 ]; then
        printf '%04x\n' "0x$2" >"$hw_dir/phy/$1"
        return
    fi
    echo "registers that are not 0"
    grep -rv '^0000$' "$hw_dir/phy" | sed 's/.*\//  /; s/:/ /' | sort -V
    echo "written by the daemon, in order"
    sed 's/^/  /' "$phy_log"
}

verb_phy-status() {
    [[ ${1:-} =~ ^[0-9a-f]+$ ]] || die "which value? hexadecimal, 400 is connected"
    echo "$1" >"$phy_status"
}

memory_word() {
    od -An -tx4 -j "$(($1))" -N 4 /dev/mem | tr -d ' '
}

# The word's bytes as they stand in memory.
store_word() {
    local bytes
    printf -v bytes '\\x%02x' $(($2 & 255)) $(($2 >> 8 & 255)) $(($2 >> 16 & 255)) $(($2 >> 24 & 255))
    # shellcheck disable=SC2059 # the escapes are meant
    printf "$bytes" | dd of=/dev/mem bs=4 seek=$(($1 / 4)) conv=notrunc 2>/dev/null
}

verb_mem() {
    local i number='^0x[0-9a-fA-F]{1,8}$'
    [ ! -c /dev/mem ] || die "/dev/mem is the machine's own here"
    if [ $# -eq 0 ]; then
        for ((i = 0; i < ${#soc_registers[@]}; i += 2)); do
            echo "${soc_registers[i]} $(memory_word "${soc_registers[i]}")  ${soc_registers[i + 1]}"
        done
        return
    fi
    [[ $1 =~ $number && $(($1 % 4)) -eq 0 ]] || die "which address? a multiple of 4, such as 0xf2130e10"
    if [ $# -eq 2 ]; then
        [[ $2 =~ $number ]] || die "which value? such as 0x1000"
        store_word "$1" "$2"
    fi
    echo "$1 $(memory_word "$1")"
}

verb_mac-link() {
    local address word
    case ${1:-} in
    1g) address=0xf2130e10 ;;
    10g) address=0xf2130f0c ;;
    *) die "which link: 1g or 10g?" ;;
    esac
    word=0x$(memory_word $address)
    case ${2:-} in
    up) store_word $address $((word | 1)) ;;
    down) store_word $address $((word & ~1)) ;;
    *) die "up or down?" ;;
    esac
}
