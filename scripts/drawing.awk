# Draws a sequence as SVG. A source has one line for each row, from top to bottom:
#   lane <key> <text>          a column; all lanes stand ahead of the rows
#   <from> -> <to> <bytes> | <text>   a frame: its bytes in hexadecimal, as many as matter, and what it is
#   <from> => <to> <text>      a call or a callback
#   <from> .> <to> <text>      what a call gives back
#   note <key> <text>          something that happens in a lane
#   part <text>                a line across, ahead of what follows
# Lines that begin with "#" are comments. Lanes move apart as far as their texts need.
BEGIN {
    font = 7.3; rowHeight = 34; margin = 20; headHeight = 52
}

/^[ \t]*(#|$)/ { next }

{
    key = $1
    rest = $0
}

key == "lane" {
    take(2)
    lanes++
    laneOf[$2] = lanes
    laneText[lanes] = rest
    need(lanes, lanes, length(rest) * font + 30)
    next
}

key == "note" || key == "part" {
    rows++
    kind[rows] = key
    take(key == "note" ? 2 : 1)
    text[rows] = rest
    if (key == "note") {
        from[rows] = lane($2)
        need(from[rows], from[rows], length(rest) * font + 30)
    }
    next
}

$2 == "->" || $2 == "=>" || $2 == ".>" {
    rows++
    kind[rows] = $2
    from[rows] = lane($1)
    to[rows] = lane($3)
    take(3)
    cut = $2 == "->" ? index(rest "|", "|") : 0
    bytes[rows] = trimmed(substr(rest, 1, cut - 1))
    text[rows] = trimmed(substr(rest, cut + 1))
    need(from[rows], to[rows], (length(bytes[rows]) + 2 + length(text[rows])) * font + 34)
    next
}

{ fail("what is \"" $0 "\"?") }

END {
    if (failed) exit 1
    place()
    draw()
}

function fail(why) {
    printf "%s:%d: %s\n", FILENAME, FNR, why > "/dev/stderr"
    failed = 1
    exit 1
}

function lane(name) {
    if (!(name in laneOf)) fail("no lane \"" name "\"")
    return laneOf[name]
}

function trimmed(s) {
    gsub(/^[ \t]+|[ \t]+$/, "", s)
    return s
}

# Drops the first words of the line from `rest`.
function take(words,    i) {
    rest = trimmed($0)
    for (i = 0; i < words; i++) sub(/^[^ \t]+[ \t]*/, "", rest)
}

function need(a, b, width) {
    wants++
    wantFrom[wants] = a < b ? a : b
    wantTo[wants] = a < b ? b : a
    wantWidth[wants] = width
}

# The least gaps between lanes; wants over fewer lanes first, and what a wide one lacks goes to its last gap.
function place(    span, i, half, have, j) {
    left = margin
    right = margin
    for (i = 1; i < lanes; i++) gap[i] = (length(laneText[i]) + length(laneText[i + 1])) * font / 2 + 60
    for (span = 0; span < lanes; span++) {
        for (i = 1; i <= wants; i++) {
            if (wantTo[i] - wantFrom[i] != span) continue
            half = wantWidth[i] / 2
            if (span == 0) {
                widen(wantFrom[i] - 1, half)
                widen(wantTo[i], half)
                continue
            }
            have = 0
            for (j = wantFrom[i]; j < wantTo[i]; j++) have += gap[j]
            if (have < wantWidth[i]) gap[wantTo[i] - 1] += wantWidth[i] - have
        }
    }
    x[1] = left
    for (i = 2; i <= lanes; i++) x[i] = x[i - 1] + gap[i - 1]
    width = x[lanes] + right
    height = headHeight + (rows + 1) * rowHeight
}

# Room for half a text beside gap `i`; ahead of the first lane and behind the last one it is the edge.
function widen(i, half) {
    if (i == 0) left = larger(left, half + 4)
    else if (i == lanes) right = larger(right, half + 4)
    else gap[i] = larger(gap[i], half + 20)
}

function larger(a, b) { return a > b ? a : b }

function escaped(s) {
    gsub(/&/, "\\&amp;", s)
    gsub(/</, "\\&lt;", s)
    gsub(/>/, "\\&gt;", s)
    return s
}

function draw(    i) {
    printf "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"%d\" height=\"%d\"", width, height
    printf " viewBox=\"0 0 %d %d\"", width, height
    print " font-family=\"DejaVu Sans Mono, Menlo, Consolas, monospace\" font-size=\"12\">"
    print "<style>"
    print "  .lane { stroke: #9aa7b4; }"
    print "  .head { fill: #e8eef4; stroke: #5b7690; }"
    print "  .frame { stroke: #1f5f99; fill: #1f5f99; }"
    print "  .call { stroke: #333; fill: #333; }"
    print "  .back { stroke: #333; fill: #333; stroke-dasharray: 5 3; }"
    print "  .note { fill: #fdf6dc; stroke: #b59f4a; }"
    print "  .part { stroke: #b0b8c0; stroke-dasharray: 2 3; }"
    print "  text { paint-order: stroke; stroke: white; stroke-width: 4px; fill: #222; text-anchor: middle; }"
    print "  .plain { stroke: none; }"
    print "  .name { font-weight: bold; }"
    print "  .quiet { fill: #5a6570; font-style: italic; }"
    print "  .bytes { fill: #1f5f99; }"
    print "</style>"
    printf "<rect width=\"%d\" height=\"%d\" fill=\"white\"/>\n", width, height
    for (i = 1; i <= lanes; i++) head(i)
    for (i = 1; i <= rows; i++) row(i, headHeight + i * rowHeight)
    print "</svg>"
}

function head(i,    half) {
    half = length(laneText[i]) * font / 2 + 10
    printf "<line class=\"lane\" x1=\"%d\" x2=\"%d\" y1=\"40\" y2=\"%d\"/>\n", x[i], x[i], height - 8
    printf "<rect class=\"head\" x=\"%d\" y=\"14\" width=\"%d\" height=\"26\" rx=\"3\"/>\n", x[i] - half, 2 * half
    printf "<text class=\"plain name\" x=\"%d\" y=\"31\">%s</text>\n", x[i], escaped(laneText[i])
}

function row(i, y,    half) {
    if (kind[i] == "part") {
        half = length(text[i]) * font / 2 + 6
        printf "<line class=\"part\" x1=\"4\" x2=\"%d\" y1=\"%d\" y2=\"%d\"/>\n", width - 4, y, y
        if (text[i] != "") {
            printf "<rect x=\"%d\" y=\"%d\" width=\"%d\"", width / 2 - half, y - 8, 2 * half
            print " height=\"16\" fill=\"white\"/>"
        }
        printf "<text class=\"quiet\" x=\"%d\" y=\"%d\">%s</text>\n", width / 2, y + 4, escaped(text[i])
    } else if (kind[i] == "note") {
        note(i, y)
    } else {
        arrow(i, y)
    }
}

function note(i, y,    half) {
    half = length(text[i]) * font / 2 + 8
    printf "<rect class=\"note\" x=\"%d\" y=\"%d\"", x[from[i]] - half, y - 14
    printf " width=\"%d\" height=\"22\" rx=\"3\"/>\n", 2 * half
    printf "<text class=\"plain\" x=\"%d\" y=\"%d\">%s</text>\n", x[from[i]], y + 1, escaped(text[i])
}

function arrow(i, y,    a, b, class, back) {
    a = x[from[i]]
    b = x[to[i]]
    back = a < b ? -1 : 1
    class = kind[i] == "->" ? "frame" : kind[i] == "=>" ? "call" : "back"
    printf "<line class=\"%s\" x1=\"%d\" x2=\"%d\" y1=\"%d\" y2=\"%d\"/>\n", class, a, b, y, y
    printf "<path class=\"%s\" style=\"stroke-dasharray: none\" d=\"M%d %d l%d -4 v8 z\"/>\n", class, b, y, 8 * back
    printf "<text x=\"%d\" y=\"%d\">", (a + b) / 2, y - 5
    if (bytes[i] != "") printf "<tspan class=\"bytes\">%s</tspan>%s", bytes[i], text[i] == "" ? "" : "  "
    printf "%s</text>\n", escaped(text[i])
}
