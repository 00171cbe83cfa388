# shellcheck shell=bash
# The place where ./dev builds and runs: this distribution, or a Debian root below the cache folder.

# The Debian release for a root, when this distribution's OBS and Qt are too old. Its OBS and Qt are the nearest ones
# below the target's. REELHOUSE_SUITE selects another suite.
suite=${REELHOUSE_SUITE:-trixie}
least_obs=30.2
least_qt=6.8
# The size of a new root with room for the builds, in MiB.
root_needs_mib=4096

# The packages by purpose. A command installs those that it needs. A root has all of them, unless it is only for
# packing.
purposes=(build develop host tests lint package)
declare -A packages_for=(
	[build]="g++ cmake ninja-build pkg-config libobs-dev qt6-base-dev qt6-base-dev-tools libavformat-dev"
	# The build tree of the preset "dev" has the tests and the benchmark, whatever a command builds in it.
	[develop]="libgtest-dev libbenchmark-dev"
	# OBS, its VLC source, and the packages that OBS needs on a screen and without one
	[host]="obs-studio obs-plugins qt6-svg-plugins vlc-plugin-base libvlc5 libgl1-mesa-dri fonts-dejavu-core ffmpeg
		xvfb xauth openbox xdotool imagemagick dbus-x11 at-spi2-core gir1.2-atspi-2.0 python3-gi python3-websockets"
	# chromium shows the pages, and npm installs what checks them; the test of the packages needs lintian and mount
	[tests]="chromium nodejs npm lintian mount"
	# clang is the second compiler; libc++ is its own standard library, which macOS uses
	[lint]="clang clang-format clang-tidy libc++-dev shellcheck flake8 nodejs npm"
	[package]="dpkg-dev file"
)

# Prints one package per line.
packages_of() {
	local purpose
	for purpose in "$@"; do
		tr -s ' \t\n' '\n' <<<"${packages_for[$purpose]}"
	done | sort -u
}

# Prints the version that apt would install, without epoch and revision; prints nothing when there is none.
candidate() {
	local version
	version=$(apt-cache policy "$1" 2>/dev/null | sed -n 's/^ *Candidate: \([0-9]\)/\1/p')
	version=${version#*:}
	printf '%s\n' "${version%%[-+~]*}"
}

at_least() { [[ -n $1 ]] && dpkg --compare-versions "$1" ge "$2"; }

own_distribution_will_do() {
	[[ -z ${REELHOUSE_SUITE:-} ]] && at_least "$(candidate libobs-dev)" "$least_obs" &&
		at_least "$(candidate qt6-base-dev)" "$least_qt"
}

as_root() {
	if [[ $EUID -eq 0 ]]; then
		"$@"
	elif command -v sudo >/dev/null; then
		sudo -- "$@"
	else
		die "root rights are needed to install packages: run this as root, or install sudo."
	fi
}

apt_install() {
	local missing=() package
	for package in "$@"; do
		dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q ' installed$' || missing+=("$package")
	done
	[[ ${#missing[@]} -eq 0 ]] && return
	say "installing with apt: ${missing[*]}"
	local install=(env DEBIAN_FRONTEND=noninteractive apt-get install --yes --no-install-recommends "${missing[@]}")
	as_root "${install[@]}" >&2 && return
	say "the package lists may be old; updating them"
	if ! { as_root apt-get update && as_root "${install[@]}"; } >&2; then
		die "apt could not install ${missing[*]}: check the network and the package sources, then try again."
	fi
}

# The name encodes everything that decides the root's content, make_root itself included.
root_path() {
	local key
	key=$({ printf '%s\n' "$suite" && packages_of "$@" && declare -f make_root; } | sha256sum | cut -c 1-12)
	printf '%s/root-%s-%s\n' "$cache" "$suite" "$key"
}

enough_disk() {
	local free
	free=$(df --output=avail --block-size=1M "$1" | tail -n 1)
	[[ $free -ge $root_needs_mib ]] ||
		die "a Debian root needs $root_needs_mib MiB below $1, where $((free)) MiB are free: make room, or set XDG_CACHE_HOME."
}

make_root() {
	local root=$1 partial=$1.partial packages
	packages=$(packages_of "${@:2}" | paste -sd ,)
	# An interrupted run leaves only a partial root under another name.
	as_root rm -rf --one-file-system "$partial"
	say "making a Debian $suite root in $root (once; it takes a minute or two)"
	as_root mmdebstrap --variant=apt --skip=check/qemu --aptopt='APT::Install-Recommends "false"' \
		--aptopt='Acquire::Check-Valid-Until "false"' --include="$packages" "$suite" "$partial" >&2 ||
		die "the Debian root could not be made: check the network and the disk, then run ./dev again."
	as_root mv "$partial" "$root"
}

ensure_root() {
	local root=$1
	[[ -d $root ]] && return
	command -v apt-get >/dev/null ||
		die "there is no apt here: use Debian or Ubuntu, or build with cmake --preset installed against your own OBS and Qt."
	# Debian has the archive keys; other distributions need the package.
	apt_install mmdebstrap debian-archive-keyring
	mkdir -p "$cache"
	enough_disk "$cache"
	(
		# The lock lets two first runs share one root.
		flock 9
		[[ -d $root ]] || make_root "$@"
	) 9>"$cache/lock"
}

# Runs as root in a mount namespace of its own, so that every mount goes when the command ends. Folders of this machine
# that the root lacks (homes, media, the checkout) appear in the root under the same path.
enter_root() {
	local root=$1 user=$2 groups=$3 directory=$4 entry
	shift 4
	for entry in proc sys dev; do
		mount --rbind "/$entry" "$root/$entry"
	done
	for entry in /*; do
		case $entry in
		/bin | /boot | /dev | /etc | /lib* | /proc | /run | /sbin | /sys | /usr | /var | /lost+found) continue ;;
		esac
		[[ -d $entry && ! -L $entry ]] && mkdir -p "$root$entry" && mount --rbind "$entry" "$root$entry"
	done
	for entry in /run/user /var/tmp; do
		[[ -d $entry ]] && mkdir -p "$root$entry" && mount --rbind "$entry" "$root$entry"
	done
	# The last one has the certificates that this machine trusts.
	for entry in /etc/passwd /etc/group /etc/hosts /etc/resolv.conf /etc/ssl/certs/ca-certificates.crt; do
		[[ -e $entry ]] && mkdir -p "$root${entry%/*}" && touch "$root$entry" && mount --bind "$entry" "$root$entry"
	done
	# shellcheck disable=SC2016 # the inner shell expands these
	exec chroot --userspec="$user" --groups="$groups" "$root" /bin/sh -c 'cd "$1" && shift && exec "$@"' sh "$directory" "$@"
}

run_in_root() {
	local root=$1 keep name
	shift
	keep=(HOME="$HOME" PATH=/usr/local/bin:/usr/bin:/bin:/usr/sbin:/sbin LANG=C.UTF-8 REELHOUSE_INSIDE=1)
	for name in TERM DISPLAY WAYLAND_DISPLAY XAUTHORITY XDG_RUNTIME_DIR XDG_CACHE_HOME DBUS_SESSION_BUS_ADDRESS \
		PULSE_SERVER CI NODE_EXTRA_CA_CERTS REELHOUSE_SEED SOURCE_DATE_EPOCH; do
		[[ -n ${!name:-} ]] && keep+=("$name=${!name}")
	done
	as_root unshare --mount true 2>/dev/null ||
		die "this machine allows no mount namespaces, which the Debian root needs: leave the container, or give it CAP_SYS_ADMIN."
	as_root unshare --mount --propagation private -- bash -c "set -euo pipefail; $(declare -f enter_root); enter_root \"\$@\"" \
		enter_root "$root" "$(id -u):$(id -g)" "$(id -G | tr ' ' ,)" "$checkout" env -i "${keep[@]}" "$@"
}

# Runs a command where the packages for these purposes are: inside "build host" COMMAND…
inside() {
	local needs root
	read -ra needs <<<"$1"
	shift
	if [[ -n ${REELHOUSE_INSIDE:-} ]]; then
		"$@"
		return
	fi
	if own_distribution_will_do; then
		mapfile -t packages < <(packages_of "${needs[@]}")
		apt_install "${packages[@]}"
		(cd "$checkout" && "$@")
		return
	fi
	# One full root serves every command. Packing alone needs a smaller one.
	root=$(root_path "${purposes[@]}")
	if [[ ${needs[*]} == "build package" && ! -d $root ]]; then
		root=$(root_path "${needs[@]}")
	else
		needs=("${purposes[@]}")
	fi
	ensure_root "$root" "${needs[@]}"
	run_in_root "$root" "$@"
}

# Builds for one host do not fit another, so each host has its own copy of the checkout, which is reused.
test_on() {
	local copy=$cache/host-$1
	say "testing on Debian $1 in $copy"
	mkdir -p "$copy"
	# Remove everything of the older state except its builds.
	find "$copy" -mindepth 1 -maxdepth 1 ! -name build -exec rm -rf {} +
	(cd "$checkout" && git ls-files -z --cached --others --exclude-standard |
		tar --create --null --ignore-failed-read --files-from -) | tar --extract --directory "$copy"
	REELHOUSE_SUITE=$1 exec "$copy/dev" test "${@:2}"
}
