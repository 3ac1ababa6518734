# ./dev docs: the reference of the public headers, and whether what it says is so. Sourced by ./dev.
# shellcheck shell=bash

readonly DOCS=build/docs PAGES=docs/reference

run_docs() {
    need docs build host
    local failures=0 step
    for step in docs_drawings docs_html docs_exports docs_texts docs_frames; do
        if "$step"; then
            say "$step: good"
        else
            say "$step: FAILED"
            failures=$((failures + 1))
        fi
    done
    say "the reference: $DOCS/html/index.html"
    ((failures == 0))
}

# The drawings as SVG, which Doxygen puts into the pages.
docs_drawings() {
    local drawing name failures=0
    mkdir -p "$DOCS/drawings"
    for drawing in "$PAGES"/*.seq; do
        name=$(basename "$drawing" .seq)
        awk -f scripts/drawing.awk "$drawing" >"$DOCS/drawings/$name.svg" || failures=1
    done
    ((failures == 0))
}

# Pages and headers as HTML. Anything without a comment is a fault.
docs_html() {
    local version
    version=$(sed -nE 's/^project\(TalvexSDK VERSION ([0-9.]+).*/\1/p' CMakeLists.txt)
    rm -rf -- "$DOCS/html" "$DOCS/TalvexSDK.tag"
    TALVEX_VERSION=$version logged "$DOCS/doxygen.log" doxygen "$PAGES/Doxyfile"
}

# Every export has its place in the reference.
docs_exports() {
    local function failures=0
    while IFS= read -r function; do
        if ! grep -qF "<name>${function##*::}</name>" "$DOCS/TalvexSDK.tag"; then
            printf 'not in the reference: %s\n' "$function" >&2
            failures=1
        fi
    done < <(grep -v '^#' cmake/TalvexSDK.exports)
    ((failures == 0))
}

# The texts on the page about results are those of the sources, and none is left out.
docs_texts() {
    local failures=0
    diff <(code_texts_of_page) <(code_texts_of_source) >&2 || failures=1
    diff <(status_texts_of_page | sort) <(status_texts_of_source | sort) >&2 || failures=1
    log_texts_of_page | absent_from sources 'not in the sources' || failures=1
    log_texts_of_source | absent_from cat "$PAGES/results.md" 'not on the page about results' || failures=1
    ((failures == 0))
}

# section <heading>: that part of the page about results.
section() { awk -v heading="## $1" '/^## /{ inside = $0 == heading } inside' "$PAGES/results.md"; }

code_texts_of_page() { section 'Result codes' | sed -nE 's/^\| ([0-9]+) \| ("[^"]*") \|.*\|$/\1 \2/p'; }
code_texts_of_source() { sed -nE 's/^    ("[^"]*"),$/\1/p' engine/ErrorTexts.cpp | awk '{ print NR - 1, $0 }'; }

# Numbers as they stand: hexadecimal below 256, decimal from there on.
status_texts_of_page() { sed -nE 's/^\| (0x[0-9A-F]{2}|[0-9]+) \| ("[^"]*") \|$/\1 \2/p' "$PAGES/results.md"; }
status_texts_of_source() {
    tr '\n' ' ' <decode/StatusText.cpp | sed -E 's/" +"//g' |
        grep -oE '\{(0x[0-9A-F]{2}|[0-9]+), +"[^"]*"\}' | sed -E 's/^\{([^,]*), +(.*)\}$/\1 \2/'
}

sources() { cat engine/*.cpp xcp/*.cpp ccp/*.cpp transport/*.cpp; }

# The texts between back quotes in the table of the log, without what differs from line to line.
log_texts_of_page() {
    section 'The log' | grep -E '^\| [0-9]' | grep -oE "\`[^\`]+\`" |
        tr -d '`' | sed 's/<[^>]*>/\n/g' | grep -E '.{4}'
}

# The literals in calls that write a line of the log.
log_texts_of_source() {
    sources | tr '\n' ' ' | grep -oE '(writeLog|warn)\([^;]*;' | grep -oE '"[^"]*"' | tr -d '"' |
        grep -E '.{4}' | sort -u
}

# absent_from <command...> <complaint>: complains of each line of standard input that the output of the command
# does not hold.
absent_from() {
    local complaint=${*: -1} text whole failures=0
    whole=$("${@:1:$#-1}")
    while IFS= read -r text; do
        if [[ $whole != *"$text"* ]]; then
            printf '%s: %s\n' "$complaint" "$text" >&2
            failures=1
        fi
    done
    ((failures == 0))
}

# The frames of the drawings go over the bus in a run of the demo.
docs_frames() {
    local drawing failures=0 talvex=build/release/host/talvex
    build release talvex || return 1
    say "running the demo"
    rm -f -- "$DOCS/demo.trace"
    # What the demo itself finds is not the question here; without its trace the next step fails.
    "$talvex" demo examples/demo.toml --seconds 1 --trace "$DOCS/demo.trace" >"$DOCS/demo.log" 2>&1 || true
    "$talvex" decode "$DOCS/demo.trace" --config examples/demo.toml --json \
        >"$DOCS/demo.jsonl" 2>"$DOCS/decode.log" || return 1
    for drawing in "$PAGES"/*.seq; do
        awk -f scripts/drawing_frames.awk examples/demo.toml "$drawing" "$DOCS/demo.jsonl" >&2 || failures=1
    done
    ((failures == 0))
}
