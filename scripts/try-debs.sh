#!/usr/bin/env bash
# Installs the Debian packages into an empty Debian 12 and tries the program and the Python package there. Needs root, debootstrap
# and a Debian mirror; FOLDER is made, and removed at the end.
# usage: scripts/try-debs.sh PACKAGES FOLDER
set -euo pipefail
packages=$1 root=$2
sample=$(dirname "$0")/../Samples/trolley.step
[[ ! -e $root ]] || { echo "try-debs: $root is there already" >&2; exit 1; }
mounted=()
leave() {
  for place in "${mounted[@]}"; do umount "$place" || return; done  # before anything is removed
  rm -rf --one-file-system "$root"
}
trap leave EXIT
debootstrap --variant=minbase bookworm "$root"
for place in proc sys dev; do
  mount --bind "/$place" "$root/$place"
  mounted+=("$root/$place")
done
cp /etc/resolv.conf "$root/etc/resolv.conf"
mkdir "$root/try"
cp "$sample" "$root/try/trolley.step"
# The packages of the viewer and for developers are left out: a machine that converts has neither.
cp "$packages"/{libmirel0,libmirel-draw0,mirel,python3-mirel}_*.deb "$root/try/"
cat >"$root/try/all" <<'END'
export DEBIAN_FRONTEND=noninteractive
apt-get update -q
apt-get install -qy --no-install-recommends /try/*.deb
cd /try
mirel save --strict trolley.step trolley
for out in again.step trolley.brep trolley.glb trolley.stl; do
  mirel export --strict trolley $out
  test -s $out
done
mirel diff trolley again.step
mirel picture trolley trolley.png
test -s trolley.png
python3 -c '
import mirel
model = mirel.open("trolley")
assert model.count() == 22 and model.parts()[0].exact.volume > 0
assert model.picture(size=(40, 30)).shape == (30, 40, 3)
mirel.export(model, "again.glb")
assert mirel.check(model)["verdict"] == "ok"'
END
chroot "$root" bash -eux /try/all
echo "the packages can be installed, and do what they are for"
