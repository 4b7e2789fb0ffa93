#!/usr/bin/env bash
# Installs what is missing, builds the player and plays the sample recording in demo/ to 127.0.0.1:5000.
set -eu
cd "$(dirname "$0")"

scripts/install-packages.sh g++ cmake ninja-build libcli11-dev libpcap-dev nlohmann-json3-dev
cmake --preset release -DTESSAVOX_TESTS=OFF >/dev/null
cmake --build --preset release -- --quiet

mkdir -p demo
if [ ! -e demo/sample.mdi ]; then
    build/release/tools/mdi-make --mode B --occupancy 10 --msc-mode 64 --frames 360 demo/sample.mdi
fi
if [ ! -e "demo/VESTRAL Tessavox.ini" ]; then
    sed 's/^InputFileName=.*/InputFileName=sample.mdi/' "docs/VESTRAL Tessavox.ini" > "demo/VESTRAL Tessavox.ini"
fi
cd demo
exec ../build/release/Networking/Receiver/tessavox
