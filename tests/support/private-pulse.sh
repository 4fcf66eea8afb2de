#!/usr/bin/env bash
# Starts the test's private PulseAudio in the background, with a null sink as the default sink, waits until
# it answers and writes its pid to BREVLIN_TEST_PULSE_PIDFILE. isolated-run.sh --pulse runs it before the
# test, and a test that ends the sound server runs it again (BREVLIN_TEST_PULSE_START) to bring back the
# same server: same socket, same sink, same monitor. Needs the environment isolated-run.sh sets up.
# PulseAudio's own pid file is off: where nobody reaps the server that was ended, its pid still looks alive
# and the new one would refuse to start.
set -u

: "${PULSE_RUNTIME_PATH:?run through isolated-run.sh --pulse}" "${BREVLIN_TEST_PULSE_LOG:?}"
: "${BREVLIN_TEST_PULSE_PIDFILE:?}"
command -v pulseaudio >/dev/null || { echo "private-pulse: pulseaudio is missing (make deps)" >&2; exit 1; }
pulseaudio --daemonize=no --use-pid-file=no --exit-idle-time=-1 --disallow-exit -n \
    --load="module-native-protocol-unix" \
    --load="module-null-sink sink_name=brevlin_test sink_properties=device.description=BrevlinTest" \
    --load="module-always-sink" </dev/null >>"$BREVLIN_TEST_PULSE_LOG" 2>&1 &
pid=$!
echo "$pid" >"$BREVLIN_TEST_PULSE_PIDFILE"
for _ in $(seq 100); do
    pactl info >/dev/null 2>&1 && break
    sleep 0.05
done
if ! pactl set-default-sink brevlin_test >/dev/null 2>&1; then
    echo "private-pulse: PulseAudio did not start" >&2
    cat "$BREVLIN_TEST_PULSE_LOG" >&2
    kill "$pid" 2>/dev/null
    exit 1
fi
