# shellcheck shell=bash
# The commands ./dev test, soak, lint and format.

# The tested build trees. Each tree has tests of its own; ctest builds what a test needs.
test_trees=(package asan tsan)

test_inside() {
	local filter=() tree
	[[ $# -gt 0 ]] && filter=(--tests-regex "$1")
	mkdir -p build
	install_js
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
	# One more than there are processors: a test in the real OBS waits most of its time.
	ctest --test-dir build --parallel "$(($(nproc) + 1))" --output-on-failure --no-tests=error "${filter[@]}"
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

# Installs the tools for the pages, in the versions that tools/js names.
install_js() {
	mkdir -p build/js
	cmp -s tools/js/package-lock.json build/js/node_modules/.installed && cp tools/js/* build/js && return
	say "installing the linter and the checker of the pages with npm"
	cp tools/js/* build/js
	npm ci --prefix build/js --no-audit --no-fund >build/npm.log 2>&1 || { cat build/npm.log >&2 && die "npm failed."; }
	cp tools/js/package-lock.json build/js/node_modules/.installed
}

# Checks the sources whose names it reads, with clang and its standard library: tidy TREE [OPTIONS…]. The source for
# macOS, which is not built here, gets the options of its neighbours.
tidy() {
	xargs -d '\n' -n 1 -P "$(nproc)" clang-tidy -p "build/$1" --quiet "${@:2}" >>build/lint.txt 2>&1
}

lint_inside() {
	local faults=()
	say "checking the format, the scripts and the Python"
	format_inside --dry-run --Werror || faults+=(format)
	shellcheck --external-sources --check-sourced dev .ci/run || faults+=(scripts)
	flake8 tools tests bench || faults+=(Python)
	python3 tools/rooms.py || faults+=("who includes whom")
	say "checking the pages"
	install_js
	build dev --target pages
	build/js/node_modules/.bin/eslint --config build/js/eslint.config.js build/dev/data >&2 || faults+=(pages)
	say "reading the C++ (a few minutes)"
	configure lint
	configure lint-unity
	: >build/lint.txt
	# The compiler and the analyzer read each source on its own, which so must include what it uses. The analyzer's
	# shallow mode takes a third of the time. The other checks walk through all of Qt's headers, so they read many
	# sources at once.
	find src -name '*.cpp' | tidy lint --checks='-bugprone-*,-cppcoreguidelines-*,-misc-*,-performance-*' \
		--extra-arg={-Xclang,-analyzer-config,-Xclang,mode=shallow} || faults+=("what OBS loads")
	{ find build/lint-unity/CMakeFiles -name 'unity_*.cxx' && find src/platform -name '*.cpp'; } |
		tidy lint-unity --checks='-clang-analyzer-*' || faults+=("what OBS loads, by the checks")
	# Tests and tools get few of them.
	find build/lint-unity/{tests,tools,bench} -name 'unity_*.cxx' |
		tidy lint-unity --checks='-*,clang-diagnostic-*,bugprone-use-after-move' || faults+=("tests and tools")
	grep -v ' warnings\? generated\.$' build/lint.txt >&2 || true
	[[ ${#faults[@]} -eq 0 ]] || die "there are faults in: ${faults[*]}."
}
