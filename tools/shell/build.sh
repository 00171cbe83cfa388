# shellcheck shell=bash
# Functions that the commands of ./dev share: building, and starting the real OBS.

# Debian's flags harden the code and keep the paths of this machine out of it.
with_debian_flags() {
	local CXXFLAGS LDFLAGS
	CXXFLAGS=$(dpkg-buildflags --get CPPFLAGS; dpkg-buildflags --get CXXFLAGS)
	LDFLAGS=$(DEB_BUILD_MAINT_OPTIONS=hardening=+bindnow dpkg-buildflags --get LDFLAGS)
	CXXFLAGS=${CXXFLAGS//$'\n'/ } LDFLAGS=$LDFLAGS "$@"
}

# The options go to cmake.
configure() {
	local command=(cmake --preset "$@")
	[[ $1 == package ]] && command=(with_debian_flags "${command[@]}")
	mkdir -p build
	"${command[@]}" >"build/$1.log" 2>&1 || { cat "build/$1.log" >&2 && die "configuring $1 failed."; }
}

# The options go to the build.
build() {
	say "building $1"
	configure "$1"
	cmake --build --preset "$@" >&2
}

make_clips() {
	local folder=$1 number
	mkdir -p "$folder"
	for number in 1 2 3; do
		[[ -s $folder/clip$number.mp4 ]] && continue
		ffmpeg -nostdin -v error -y -f lavfi -i "testsrc=size=640x360:rate=25:duration=10" \
			-f lavfi -i "sine=frequency=$((220 * number)):duration=10" -c:v libx264 -pix_fmt yuv420p -c:a aac \
			"$folder/partial.mp4"
		mv "$folder/partial.mp4" "$folder/clip$number.mp4"
	done
}

# Runs a measurement in the real OBS, without a display.
drive_host() {
	local program=$checkout/$1
	shift
	build dev --target obs-reelhouse dock_layout
	cd build
	export PYTHONPATH=$checkout/tools
	dbus-run-session -- python3 "$program" "$@" --module dev/obs-reelhouse.so --data dev/data --layout dev/tools/dock_layout
}
