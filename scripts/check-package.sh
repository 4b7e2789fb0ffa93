#!/usr/bin/env bash
# check-package.sh BUILD-DIRECTORY: makes the Debian packages from a build, unpacks them into an empty root, runs the
# programs from there and builds the example against the libraries.
set -eu
cd "$1"
rm -rf package
mkdir package
cpack -B "$PWD/package" >package/cpack.log
for package in package/*.deb; do
    dpkg-deb -x "$package" package/root
done
bin=$PWD/package/root/usr/bin
cd package
for tool in mdi-make mdi-dump dcp-relay; do
    "$bin/$tool" --version
done
"$bin/mdi-make" --frames 9 rec.mdi
"$bin/mdi-dump" dcp.file.pft:rec.mdi:0:0 | tail -1
cmake -S ../../../docs/example -B example -G Ninja -DCMAKE_PREFIX_PATH="$PWD/root/usr" >example.log
cmake --build example -- --quiet
[ "$(example/example rec.mdi | grep -c bytes)" -eq 5 ]
echo q | "$bin/tessavox" | grep -q "VESTRAL Tessavox player"
echo "packages made and tried: $(echo *.deb)"
