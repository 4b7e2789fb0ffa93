#!/usr/bin/env bash
# Installs what is missing, builds the player, makes a sample recording and plays it to 127.0.0.1:5000.
set -eu
cd "$(dirname "$0")"

scripts/install-packages.sh g++ cmake ninja-build libcli11-dev
echo "Building the player (the first time takes a minute or two)"
cmake --preset play >/dev/null
cmake --build --preset play

mkdir -p demo
if [ ! -e demo/sample.mdi ]; then
    build/play/tools/mdi-make --mode B --occupancy 10 --msc-mode 64 --frames 360 demo/sample.mdi
fi
if [ ! -e "demo/VESTRAL Tessavox.ini" ]; then
    sed 's/^InputFileName=.*/InputFileName=sample.mdi/' "docs/VESTRAL Tessavox.ini" > "demo/VESTRAL Tessavox.ini"
fi

cat <<'END'

Playing demo/sample.mdi to 127.0.0.1, UDP port 5000, until you press q.
  watch the output    tcpdump -n -i lo udp port 5000     (Wireshark shows it as DCP)
  change what plays   demo/VESTRAL Tessavox.ini          (its manual: man -l docs/tessavox.ini.5)
  make a recording    build/play/tools/mdi-make --help
  check a link        cmake --preset release && cmake --build --preset release builds mdi-dump and dcp-relay; see README

END
cd demo
exec ../build/play/Networking/Receiver/tessavox
