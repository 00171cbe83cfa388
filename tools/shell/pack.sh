# shellcheck shell=bash
# The command ./dev package: makes the packages for the installed OBS and Qt, and says where they fit.

# Prints the names of the packages. Runs where the tools are.
package_inside() {
	[[ ${1:-} == --release ]] && check_release
	configure package --fresh
	say "packing for $(sed -n 's/^-- The module will accept //p' build/package.log) from" \
		"$(sed -n 's/^PRETTY_NAME="\(.*\)"$/\1/p' /etc/os-release)"
	cmake --build --preset package --target package >build/cpack.log 2>&1 ||
		{ cat build/cpack.log >&2 && die "packing failed."; }
	sed -n 's/^CPack: - package: \(.*\) generated\.$/\1/p' build/cpack.log
}

# Refuses addresses that lead nowhere, and a release that the list of changes does not have.
check_release() {
	local version revision
	version=$(sed -n 's/^ *VERSION \([0-9.]*\)$/\1/p' CMakeLists.txt)
	revision=$(sed -n 's/^set(package_revision \([0-9]*\))$/\1/p' cmake/package.cmake)
	grep -qF "## $version-$revision (" CHANGELOG.md || die "CHANGELOG.md has nothing about $version-$revision."
	! grep -n '\.example' cmake/project_addresses.cmake README.md >&2 ||
		die "these addresses are reserved for examples: put in the project's own."
}

# Warns if this system offers another OBS or Qt than the packages need. Takes the file names from package_inside.
warn_of_other_host() {
	local file obs qt here_obs here_qt
	for file in "$@"; do
		[[ $file =~ -obs([0-9.]+)-qt([0-9.]+)- ]] || continue
		obs=${BASH_REMATCH[1]} qt=${BASH_REMATCH[2]}
		here_obs=$(candidate obs-studio)
		# Debian renamed this package when it changed to 64-bit times.
		here_qt=$(candidate libqt6core6t64)
		[[ -n $here_qt ]] || here_qt=$(candidate libqt6core6)
		[[ $here_obs == "$obs" && $here_qt == "$qt" ]] || say "Warning: these packages are for OBS $obs with Qt $qt." \
			"This system offers OBS ${here_obs:-none} and Qt ${here_qt:-none}, and cannot use them."
	done
}
