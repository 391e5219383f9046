# shellcheck shell=bash
# Shared by the scripts that run inside the lab. Sourced, bash.

run_dir=/run/lab       # NAME.pid of every supervised program
syslog=/var/log/messages

# A pipe that nobody writes to, to wait on.
[ -p "$run_dir/nap" ] || { mkdir -p "$run_dir" && mkfifo "$run_dir/nap"; }
exec {nap_fd}<>"$run_dir/nap"

# Waits $1 seconds without starting a process.
nap() {
    read -rt "$1" -u "$nap_fd" || true
}

# wait_until SECONDS COMMAND...: runs the command until it succeeds; 1 when the time is over.
wait_until() {
    local deadline=$((${EPOCHREALTIME/./} + $1 * 1000000))
    shift
    until "$@" >/dev/null 2>&1; do
        [ "${EPOCHREALTIME/./}" -lt "$deadline" ] || return 1
        nap 0.01
    done
}

# The process id of the supervised program $1, nothing when it does not run.
pid_of() {
    local pid
    pid=$(cat "$run_dir/$1.pid" 2>/dev/null) && [ -d "/proc/$pid" ] && echo "$pid"
}

log_says() {
    grep -qF -- "$1" "$syslog"
}

# Runs a command in the network namespace that holds the other ends of the gateway's cables.
in_world() {
    nsenter --net=/run/netns/world "$@"
}
