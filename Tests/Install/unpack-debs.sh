#!/usr/bin/env bash
# Makes the Debian packages, unpacks them side by side and converts an assembly with what they hold. Fails when one of them
# lacks what it needs.
# usage: unpack-debs.sh CPACK BUILD_FOLDER TARGET_FOLDER
set -euo pipefail
cpack=$1 build=$2 target=$3
rm -rf "$target"
mkdir -p "$target/packages"
"$cpack" --config "$build/CPackConfig.cmake" -B "$target/packages" >"$target/cpack.log" 2>&1 ||
  { cat "$target/cpack.log" >&2; exit 1; }
viewer=()
[[ ! -x $build/bin/mirel-viewer ]] || viewer=(mirel-viewer)
python=()
[[ ! -d $build/lib/python3/dist-packages ]] || python=(python3-mirel)
for package in libmirel0 libmirel-draw0 libmirel-draw-gl0 libmirel-dev libmirel-draw-dev mirel "${viewer[@]}" "${python[@]}"; do
  deb=$(find "$target/packages" -maxdepth 1 -name "${package}_*.deb")
  [[ -f $deb ]] || { echo "unpack-debs: no package $package" >&2; exit 1; }
  depends=$(dpkg-deb -f "$deb" Depends)
  case $package in
  libmirel0) wanted=(libocct) ;;
  libmirel-draw0) wanted=("libmirel0 (" libembree3 libpango) ;;
  libmirel-draw-gl0) wanted=("libmirel-draw0 (" libepoxy) ;;
  libmirel-dev) wanted=("libmirel0 (") ;;
  libmirel-draw-dev) wanted=("libmirel-draw0 (" "libmirel-draw-gl0 (" "libmirel-dev (") ;;
  mirel) wanted=("libmirel0 (" libocct-data-exchange libcpp-httplib) ;;
  mirel-viewer) wanted=("libmirel-draw-gl0 (" "mirel (" libqt6widgets6) ;;
  python3-mirel) wanted=("libmirel-draw0 (" "mirel (" "python3 (>= 3." python3-numpy) ;;
  esac
  for want in "${wanted[@]}"; do
    [[ $depends == *"$want"* ]] || { echo "$package depends on '$depends', not on $want" >&2; exit 1; }
  done
  # Who does not draw needs nothing of what drawing takes.
  [[ $package == libmirel-draw0 || ! $depends =~ libembree|libpango ]] ||
    { echo "$package needs what draws: '$depends'" >&2; exit 1; }
  [[ $package == mirel-viewer || $depends != *libqt6* ]] || { echo "$package needs Qt: '$depends'" >&2; exit 1; }
  [[ $package == libmirel-draw-gl0 || $depends != *libepoxy* ]] || { echo "$package needs OpenGL: '$depends'" >&2; exit 1; }
  dpkg-deb -x "$deb" "$target"
done
"$target/usr/bin/mirel" save --strict "$(dirname "$0")/../../Samples/trolley.step" "$target/trolley"
"$target/usr/bin/mirel" export --strict "$target/trolley" "$target/trolley.step"
# The viewer for web pages goes along where it was built.
if [[ -f $build/Web/dist/viewer.js ]]; then
  "$target/usr/bin/mirel" page "$target/trolley" "$target/trolley.html"
fi
if [[ ${#python[@]} -gt 0 ]]; then
  "$(dirname "$0")/use-python.sh" "$target/usr/lib/python3/dist-packages" "$target/trolley"
fi
