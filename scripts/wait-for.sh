# Sourced by the scripts that drive a display: one way to wait for something to come up.

# wait_for SECONDS COMMAND...: runs COMMAND every 0.1 s, quietly, until it succeeds; gives up (status 1,
# a line on stderr) after SECONDS.
wait_for() {
    local tries=$(($1 * 10))
    shift
    for _ in $(seq "$tries"); do
        "$@" >/dev/null 2>&1 && return 0
        sleep 0.1
    done
    echo "gave up waiting for: $*" >&2
    return 1
}
