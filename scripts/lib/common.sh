# shellcheck shell=bash
# Shared by the scripts beside this folder; sourced, never run.
#
# A script is a row of steps. Each prints one line and keeps its output in build/log/; a failed step shows the end of
# that output, is counted, and makes the script end with 1.

set -euo pipefail

ROOT=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
LOG_FOLDER="$ROOT/build/log"
JOBS=$(nproc)
FAILED_STEPS=()
CLOSING_LINES=()
cd "$ROOT"
mkdir -p "$LOG_FOLDER"

# A compiler cache is used when there is one, never asked for.
if command -v ccache >/dev/null; then
    export CMAKE_C_COMPILER_LAUNCHER=ccache CMAKE_CXX_COMPILER_LAUNCHER=ccache
fi

# step <title> <command>...: runs the command; a failure is shown and counted, and is the result.
step()
{
    local title=$1 start=$SECONDS status=0 log
    shift
    log="$LOG_FOLDER/$(tr -c 'a-zA-Z0-9\n' '-' <<<"$title").log"
    printf '%-58s ' "$title"
    # In the background, because a function called in a condition would run on after its first error.
    "$@" >"$log" 2>&1 </dev/null &
    wait $! || status=$?
    if [ "$status" -eq 0 ]; then
        printf 'ok      %4d s\n' $((SECONDS - start))
        return 0
    fi
    printf 'FAILED  %4d s\n' $((SECONDS - start))
    # Without the lines of a build or of a run of tests that say that all went well.
    grep -v -E '^\[[0-9]+/[0-9]+\] |^ +Start +[0-9]+: | Passed +[0-9.]+ sec$' "$log" | tail -n 60 | sed 's/^/    /'
    echo "    (all of it: ${log#"$ROOT"/})"
    FAILED_STEPS+=("$title")
    return 1
}

# must <title> <command>...: a step without which the rest makes no sense.
must()
{
    step "$@" || finish
}

# finish: the closing lines of every test run, the verdict, and the end of the script.
finish()
{
    local line
    echo
    for line in "${CLOSING_LINES[@]}"; do
        echo "$line"
    done
    if [ ${#FAILED_STEPS[@]} -eq 0 ]; then
        echo "$(basename "$0"): all is well"
        exit 0
    fi
    printf '%s: failed:' "$(basename "$0")"
    printf ' [%s]' "${FAILED_STEPS[@]}"
    echo
    exit 1
}

configure_and_build()
{
    local preset=$1
    shift
    cmake --preset "$preset" -Wno-dev "$@" && cmake --build "build/$preset" --parallel "$JOBS"
}

build_targets()
{
    local preset=$1
    shift
    cmake --preset "$preset" -Wno-dev && cmake --build "build/$preset" --parallel "$JOBS" --target "$@"
}

# run_tests <preset> [ctest argument]...: as a step; ctest's own closing lines are kept for the end.
run_tests()
{
    local preset=$1 title="tests ($1)" status=0
    shift
    step "$title" ctest --test-dir "build/$preset" --parallel "$JOBS" --output-on-failure --no-tests=error \
         --output-junit "$LOG_FOLDER/tests-$preset.xml" "$@" || status=1
    local log="$LOG_FOLDER/tests--$preset-.log"
    CLOSING_LINES+=("$title" "$(sed -n '/% tests passed/,$p' "$log" | grep -v '^$' | grep -v 'Label\|sec\*proc' || true)" "")
    return $status
}
