# Are the frames of a drawing on the bus, in its order and under its names?
# usage: awk -f drawing_frames.awk <configuration> <drawing> <output of talvex decode --json>
# A frame of the drawing stands for one of the recording that begins with its bytes.
FNR == 1 { file++ }

# The identifiers of each ECU.
file == 1 && /^\[\[/ { inEcu = /^\[\[ecu\]\]/ }
file == 1 && inEcu && $1 == "name" && $2 == "=" { ecu = word($3); inEcu = 1 }
file == 1 && inEcu && $1 == "command_id" { toEcu[ecu] = upper($3) }
file == 1 && inEcu && $1 == "response_id" { fromEcu[ecu] = upper($3) }

file == 2 && $2 == "->" {
    line[++frames] = $0
    id[frames] = ($3 in toEcu) ? toEcu[$3] : fromEcu[$1]
    name[frames] = ($3 in toEcu) ? command($0) : ""
    bytes[frames] = hex($0)
    if (id[frames] == "" || bytes[frames] == "") {
        printf "%s: no frame of an ECU of the demo: %s\n", FILENAME, $0
        faults++
    }
    drawing = FILENAME
}

BEGIN { at = 1 }

file == 3 && at <= frames && field("id") == id[at] && index(toupper(field("data")), bytes[at]) == 1 &&
    (name[at] == "" || field("command") == name[at]) { at++ }

END {
    if (frames == 0) {
        print "no frames in the drawing"
        exit 1
    }
    if (at <= frames) {
        printf "%s: not on the bus behind the %d frames ahead of it: %s\n", drawing, at - 1, line[at]
        exit 1
    }
    exit (faults > 0)
}

function word(s) {
    gsub(/"/, "", s)
    return s
}

function upper(s) {
    sub(/^0x/, "", s)
    return toupper(s)
}

# The bytes of a row of a drawing, without blanks.
function hex(row) {
    sub(/^.*->[ \t]*[^ \t]+[ \t]*/, "", row)
    sub(/\|.*/, "", row)
    gsub(/[ \t]/, "", row)
    return toupper(row)
}

# The command of a row: the first word of its text, if that is one.
function command(row) {
    if (!sub(/^[^|]*\|[ \t]*/, "", row)) return ""
    return match(row, /^[A-Z][A-Z_0-9]+/) ? substr(row, 1, RLENGTH) : ""
}

# The text of a member of the JSON line; the first of its name.
function field(key,    start) {
    if (!match($0, "\"" key "\":\"[^\"]*\"")) return ""
    start = RSTART + length(key) + 4
    return substr($0, start, RSTART + RLENGTH - 1 - start)
}
