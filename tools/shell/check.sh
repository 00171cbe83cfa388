# shellcheck shell=bash
# What ./dev test, soak, lint and format do where the tools are.

# The build trees that are tested. Each has tests of its own, and ctest builds what a test needs before it.
test_trees=(package asan tsan release)

test_inside() {
	local filter=() tree
	[[ $# -gt 0 ]] && filter=(--tests-regex "$1")
	mkdir -p build
	say "configuring"
	# All at once, and anew: whatever was set in these trees by hand is not what is tested.
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

# The time is shared by two sanitizers and two tests: step by step, and while the source is at work.
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

# Reads sources, given as folders after the options, as clang sees them with its own standard library. A source that is
# not built here, the one for macOS, is read with the options of its neighbours.
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
	# The tests and tools for the compiler's own warnings alone: they are many, and each check takes its time.
	tidy src >build/lint.txt 2>&1 || faults+=("what OBS loads")
	tidy --checks='-*,clang-diagnostic-*,bugprone-use-after-move' tests tools bench >>build/lint.txt 2>&1 ||
		faults+=("tests and tools")
	grep -v ' warnings\? generated\.$' build/lint.txt >&2 || true
	[[ ${#faults[@]} -eq 0 ]] || die "there are faults in: ${faults[*]}."
}
