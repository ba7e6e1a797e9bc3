#!/bin/sh
# Makes sensor.vmp from nothing with the batch host's own commands:
#   examples/sensor/make-project.sh PATH/TO/velmont-batch
# The project has two configurations: the first plain, the second
# instrumented (coverage and trace followed while the programs run).
set -e
batch=${1:?usage: make-project.sh VELMONT-BATCH}
cd "$(dirname "$0")"
rm -f sensor.vmp sensor.inf
"$batch" new sensor.vmp --port gnu_c_native --port gnu_c_native
plain="GNU C native (x86_64 Linux)"
instrumented="GNU C native (x86_64 Linux) (2)"
"$batch" sensor.vmp set . executionFlag 63 --config "$plain"
"$batch" sensor.vmp set . executionFlag 1599 --config "$instrumented"
"$batch" sensor.vmp set . ztc_onthefly 1 --config "$instrumented"
"$batch" sensor.vmp set . ztt_on_fly false --config "$instrumented"
# Both configurations build for one port, whose directory they would share:
# the instrumented objects must not pass for the plain ones.
"$batch" sensor.vmp set . intdir gnu_c_native_instrumented --config "$instrumented"
"$batch" sensor.vmp set . outdir gnu_c_native_instrumented --config "$instrumented"
"$batch" sensor.vmp add library . Sensor
"$batch" sensor.vmp add source Sensor src/ringbuf.c src/crc16.c src/filter.c src/controller.c
"$batch" sensor.vmp add application . Device
"$batch" sensor.vmp add source Device src/main.c src/hw_sim.c
"$batch" sensor.vmp add link Device Sensor
for unit in ringbuf crc16 controller; do
    node=$(echo "$unit" | sed 's/^./\U&/')Test
    "$batch" sensor.vmp add unit-testing . "$node"
    "$batch" sensor.vmp add test-script "$node" "tests/$unit.ptu"
    "$batch" sensor.vmp add source "$node" "src/$unit.c"
    # Each test node compiles the unit in a directory of its own: the
    # library's objects of the same sources are not its to share.
    "$batch" sensor.vmp set "$node" intdir "gnu_c_native/$node" --config "$plain"
    "$batch" sensor.vmp set "$node" intdir "gnu_c_native_instrumented/$node" --config "$instrumented"
done
# The controller's filter is part of the unit it tests.
"$batch" sensor.vmp add source ControllerTest src/filter.c
# The files name the installation and the directory that made them; the
# example opens with any, wherever it is copied.
sed -i -e 's|SYSTEM "[^"]*/lib/project.dtd"|SYSTEM "./lib/project.dtd"|' -e '/<targetFullPath>/d' \
    -e "s|<filepath>$(pwd)/|<filepath>./|" sensor.vmp sensor.inf
