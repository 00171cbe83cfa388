# shellcheck shell=bash
# The commands ./dev test, soak, lint and format.

# The tested build trees. Each tree has tests of its own; ctest builds what a test needs.
test_trees=(package asan tsan release)

test_inside() {
	local filter=() tree
	[[ $# -gt 0 ]] && filter=(--tests-regex "$1")
	mkdir -p build
	say "configuring"
	# Configure all trees at once and from scratch, so that no setting made by hand is tested.
	local -A job
	for tree in "${test_trees[@]}"; do
		configure "$tree" --fresh &
		job[$tree]=$!
	done
	for tree in "${test_trees[@]}"; do
		wait "${job[$tree]}" || exit 1
	done
	printf 'subdirs(%s)\n' "${test_trees[@]}" >build/CTestTestfile.cmake
	say "building and testing"
	ctest --test-dir build --parallel "$(nproc)" --output-on-failure --no-tests=error "${filter[@]}"
}

# Two sanitizers and two tests share the time: one test works step by step, the other while signals arrive.
soak_inside() {
	local seconds=${1:-60} tree
	export REELHOUSE_SOAK_SECONDS=$(((seconds + 3) / 4)) REELHOUSE_SOAK_SEED=${2:-$RANDOM} GTEST_FILTER='Promises.*'
	say "soaking with seed $REELHOUSE_SOAK_SEED"
	mkdir -p build
	for tree in asan tsan; do
		configure "$tree"
		ctest --preset "$tree" --verbose --timeout $((seconds + 600))
	done
}

format_inside() {
	find src tests tools bench -name '*.cpp' -print0 -o -name '*.hpp' -print0 | xargs -0 clang-format -i "$@"
}

# Checks the sources of folders, given after the options, with clang and its standard library. The source for macOS,
# which is not built here, gets the options of its neighbours.
tidy() {
	local options=()
	while [[ $1 == -* ]]; do
		options+=("$1")
		shift
	done
	find "$@" -name '*.cpp' -print0 | xargs -0 -n 1 -P "$(nproc)" clang-tidy -p build/lint --quiet "${options[@]}"
}

lint_inside() {
	local faults=()
	say "checking the format, the scripts and the Python"
	format_inside --dry-run --Werror || faults+=(format)
	shellcheck --external-sources --check-sourced dev .ci/run || faults+=(scripts)
	flake8 tools tests bench || faults+=(Python)
	say "reading the C++ (a minute or two)"
	mkdir -p build
	configure lint
	# Tests and tools get only the compiler's warnings: they are many, and each check takes time.
	tidy src >build/lint.txt 2>&1 || faults+=("what OBS loads")
	tidy --checks='-*,clang-diagnostic-*,bugprone-use-after-move' tests tools bench >>build/lint.txt 2>&1 ||
		faults+=("tests and tools")
	grep -v ' warnings\? generated\.$' build/lint.txt >&2 || true
	[[ ${#faults[@]} -eq 0 ]] || die "there are faults in: ${faults[*]}."
}
