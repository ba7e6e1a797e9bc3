#!/usr/bin/env bash
# Sets up this machine for libsdk and runs one of its jobs.
#
#   ./run.sh example   build the library, then build and test the sensor example with the command-line host
#   ./run.sh test      build with AddressSanitizer and UndefinedBehaviorSanitizer, run every test
#   ./run.sh bench     build the benchmarks in release mode, run them, and keep
#                      each program's figures in build/bench/results/<program>.json
#   ./run.sh fuzz [S]  build the fuzz targets with clang and run each for S seconds (default 60)
#
# Debian packages that are missing are installed with apt-get; nothing is
# installed when all are present.
set -euo pipefail
cd "$(dirname "$0")"
root=$(pwd)
job=${1:-}

packages=(cmake ninja-build g++ perl qt6-base-dev qt6-5compat-dev libgl-dev flex bison
          universal-ctags libbenchmark-dev clang libclang-rt-dev libclang-dev bluez-source pmccabe gcc
          libxml2-utils clang-tidy xorg-server-source)

install_missing() {
    local missing=()
    for p in "${packages[@]}"; do
        if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed"; then
            missing+=("$p")
        fi
    done
    if [ ${#missing[@]} -eq 0 ]; then
        return
    fi
    echo "run.sh: installing ${missing[*]}"
    local sudo=""
    if [ "$(id -u)" -ne 0 ]; then sudo="sudo"; fi
    $sudo apt-get update -qq
    DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq --no-install-recommends "${missing[@]}"
}

jobs=$(nproc 2>/dev/null || echo 2)

configure_build() {
    local dir=$1; shift
    cmake -S "$root" -B "$dir" -G Ninja "$@" > "$dir.configure.log" 2>&1 || { cat "$dir.configure.log"; exit 1; }
    cmake --build "$dir" -j "$jobs"
}

case "$job" in
example)
    install_missing
    mkdir -p build
    configure_build build/release -DCMAKE_BUILD_TYPE=RelWithDebInfo -DSDK_BUILD_TESTS=OFF
    # The example is copied, so that a build leaves the source tree alone.
    work=$(mktemp -d)
    trap 'rm -rf "$work"' EXIT
    cp -r "$root/examples/sensor" "$work/"
    batch="$root/build/release/stage/bin/linux/x86_64/velmont-batch"
    project="$work/sensor/sensor.vmp"
    configurations="GNU C native (x86_64 Linux),GNU C native (x86_64 Linux) (2)"
    cd "$work/sensor"
    echo "== velmont-batch sensor.vmp tree"
    "$batch" "$project" tree
    echo; echo "== velmont-batch --config plain,instrumented sensor.vmp execute"
    "$batch" --config "$configurations" --junit "$work/sensor/junit.xml" --json "$work/sensor/run.jsonl" \
        "$project" execute
    ;;
test)
    install_missing
    mkdir -p build
    configure_build build/asan -DCMAKE_BUILD_TYPE=Debug -DSDK_SANITIZE=ON
    export ASAN_OPTIONS=${ASAN_OPTIONS:-detect_leaks=1:abort_on_error=1}
    export LSAN_OPTIONS=${LSAN_OPTIONS:-suppressions=$root/tests/lsan.supp:print_suppressions=0}
    export UBSAN_OPTIONS=${UBSAN_OPTIONS:-print_stacktrace=1:halt_on_error=1}
    ctest --test-dir build/asan --output-on-failure -j "$jobs" --timeout 60
    ;;
bench)
    install_missing
    mkdir -p build
    configure_build build/bench -DCMAKE_BUILD_TYPE=Release -DSDK_BUILD_TESTS=OFF -DSDK_BUILD_BENCH=ON
    # Each program runs a few times over, and its figures (counters by name,
    # every repetition and their mean, median and spread) are kept as JSON in
    # build/bench/results/<program>.json; the console shows the aggregates.
    results=build/bench/results
    mkdir -p "$results"
    for b in build/bench/bench/bench_*; do
        # Skip the build system's own bench_*_autogen directories.
        [ -f "$b" ] && [ -x "$b" ] || continue
        "$b" --benchmark_repetitions="${BENCH_REPETITIONS:-5}" --benchmark_display_aggregates_only=true \
            --benchmark_out="$results/$(basename "$b").json" --benchmark_out_format=json
    done
    ;;
fuzz)
    install_missing
    seconds=${2:-60}
    mkdir -p build
    configure_build build/fuzz -DCMAKE_BUILD_TYPE=RelWithDebInfo -DCMAKE_CXX_COMPILER=clang++ \
        -DSDK_BUILD_TESTS=OFF -DSDK_BUILD_TOOLS=OFF -DSDK_BUILD_FUZZ=ON
    for f in build/fuzz/fuzz/fuzz_*; do
        # Skip the build system's own fuzz_*_autogen directories.
        [ -f "$f" ] && [ -x "$f" ] || continue
        corpus="build/fuzz/corpus/$(basename "$f")"
        mkdir -p "$corpus"
        "$f" -max_total_time="$seconds" -timeout=10 "$corpus" "$root/fuzz/seeds/$(basename "$f")"
    done
    ;;
*)
    sed -n '2,11p' "$0" | sed 's/^# \{0,1\}//'
    exit 2
    ;;
esac
