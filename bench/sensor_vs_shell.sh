#!/bin/sh
# The whole sensor example through the batch host, from nothing and again when
# up to date, against a plain shell script of the same gcc commands (the
# limit: no project, no environment files, no Perl), timed in turns:
#   bench/sensor_vs_shell.sh PATH/TO/velmont-batch [RUNS]
# The shell side's compile lines are the project's own (its --dry-run
# compilation database); the harness sources it compiles are those the tool
# chain wrote, so both sides compile, link and run the same files. The batch
# side starts each run from the project as shipped, which records no build.
set -e
batch=$(realpath "${1:?usage: sensor_vs_shell.sh VELMONT-BATCH [RUNS]}")
runs=${2:-5}
root=$(cd "$(dirname "$0")/.." && pwd)
runtime=$(dirname "$batch")/../../../lib/runtime
work=$(mktemp -d)
[ -n "$KEEP" ] || trap 'rm -rf "$work"' EXIT
cp -r "$root/examples/sensor" "$work/a"
cp -r "$root/examples/sensor" "$work/b"
"$batch" --dry-run "$work/b/sensor.vmp" execute > /dev/null 2>&1
"$batch" "$work/b/sensor.vmp" execute > /dev/null 2>&1
mkdir -p "$work/harness"
cp "$work"/b/gnu_c_native/*/*_harness.c "$work/harness/"

# The shell side, written once.
{
    echo 'set -e'
    echo "cd '$work/b'"
    echo 'rm -rf gnu_c_native && mkdir -p gnu_c_native/RingbufTest gnu_c_native/Crc16Test gnu_c_native/ControllerTest'
    python3 - "$work/b/compile_commands.json" <<'PY'
import json, shlex, sys
for entry in json.load(open(sys.argv[1])):
    print(" ".join(shlex.quote(a) for a in entry["arguments"]))
PY
    o=gnu_c_native
    echo "gcc -std=gnu17 -g -O0 -I'$runtime' -c '$runtime/velmont_ut.c' -o $o/velmont_ut.o"
    for unit in ringbuf crc16 controller; do
        node=$(echo "$unit" | sed 's/^./\U&/')Test
        echo "gcc -std=gnu17 -g -O0 -Itests -I'$runtime' -c '$work/harness/${unit}_harness.c' -o $o/$node/${unit}_harness.o"
    done
    echo "ar rcs $o/Sensor.a $o/ringbuf.o $o/crc16.o $o/filter.o $o/controller.o"
    echo "gcc -o $o/Device $o/main.o $o/hw_sim.o $o/Sensor.a && ./$o/Device > /dev/null"
    t=$o/RingbufTest
    echo "gcc -o $t/RingbufTest $t/ringbuf_harness.o $t/ringbuf.o $o/velmont_ut.o && ./$t/RingbufTest $t/RingbufTest.utr > /dev/null"
    t=$o/Crc16Test
    echo "gcc -o $t/Crc16Test $t/crc16_harness.o $t/crc16.o $o/velmont_ut.o && ./$t/Crc16Test $t/Crc16Test.utr > /dev/null"
    t=$o/ControllerTest
    echo "gcc -o $t/ControllerTest $t/controller_harness.o $t/controller.o $t/filter.o $o/velmont_ut.o && ./$t/ControllerTest $t/ControllerTest.utr > /dev/null"
} > "$work/shell.sh"

echo "== from nothing: velmont-batch execute against the shell script"
farm-bench -n "$runs" --timeout 900 \
    --vs "sh $work/shell.sh" \
    -- sh -c "rm -rf '$work/a/gnu_c_native' && cp '$root/examples/sensor/sensor.vmp' '$root/examples/sensor/sensor.inf' '$work/a/' && exec '$batch' '$work/a/sensor.vmp' execute"
echo "== up to date: velmont-batch build, and execute, after a build"
"$batch" "$work/a/sensor.vmp" build > /dev/null 2>&1
farm-bench -n "$runs" --timeout 900 -- "$batch" "$work/a/sensor.vmp" build
farm-bench -n "$runs" --timeout 900 -- "$batch" "$work/a/sensor.vmp" execute
