# Reads what "gcovr --json-pretty" wrote of some sources. Writes a table of lines and branches by folder, and "left
# FILE:LINE: ..." for each line and branch that no test reaches. Exits with 1 if a folder misses a goal.
# Variables: folders, each of which has to be there; line_goal and branch_goal, in percent.
#
# A call that may throw ends in two edges, the way on and the way of the exception. Neither is a branch of the program,
# so both are left out: gcov marks the one, and the other stands beside it. Left out, too, are branches of a whole
# statement that has no word to branch with, such as "static Store store;": what ends a list of strings or keeps two threads
# from making one object is the compiler's.

function begin_line() {
    branches = 0
    delete taken
    delete throws
}

# Reads a source into texts.
function read_source(    line, count) {
    while ((getline line < file) > 0) {
        gsub(/"([^"\\]|\\.)*"/, "\"\"", line)
        sub(/[ \t]*(\/\/.*)?$/, "", line)
        texts[++count] = line
    }
    close(file)
}

# Whether a line is a whole statement without a word to branch with.
function is_straight(line) {
    return line ~ /;$/ && (number < 2 || texts[number - 1] ~ /[;{}:]$|^$/) &&
        line !~ /(^|[^A-Za-z0-9_])(if|for|while|do|switch|case|default|catch)([^A-Za-z0-9_]|$)/ && line !~ /[?]|&&|[|][|]/
}

# Counts the branches of a line that stand in the source.
function count_branches(    i, missed, real) {
    if (is_straight(texts[number]))
        return
    for (i = 1; i <= branches; i++) {
        if (i < branches && throws[i + 1]) {
            i++
            continue
        }
        if (throws[i]) {
            i++
            continue
        }
        real++
        if (!taken[i])
            missed++
    }
    all_branches[folder] += real
    missed_branches[folder] += missed
    if (missed && line_count)
        left[++lefts] = sprintf("%s:%d: %d of %d branches", file, number, missed, real)
}

function count_line() {
    all_lines[folder]++
    if (!line_count) {
        missed_lines[folder]++
        left[++lefts] = sprintf("%s:%d: line", file, number)
    }
    count_branches()
}

# Rounded down, so that a goal is not met by rounding.
function percent(missed, all) { return int((all - missed) * 1000 / all) / 10 }

# A folder has lines, or nothing of it was counted; it need not have branches.
function line_percent(name) { return all_lines[name] ? percent(missed_lines[name], all_lines[name]) : 0 }
function branch_percent(name) {
    return all_branches[name] ? percent(missed_branches[name], all_branches[name]) : all_lines[name] ? 100 : 0
}

function report(name) {
    printf "%-10s %6d %6d %6.1f %9d %6d %6.1f\n", name, all_lines[name], missed_lines[name], line_percent(name),
        all_branches[name], missed_branches[name], branch_percent(name)
}

function value() {
    sub(/^[^:]*: /, "")
    sub(/,$/, "")
    gsub(/"/, "")
    return $0
}

/^ *"file": / {
    file = value()
    folder = file
    sub(/\/[^\/]*$/, "", folder)
    delete texts
    read_source()
    next
}
/^ *"branches": \[/ { begin_line(); inside = !/\]/; next }
inside && /^ *\]/ { inside = 0; next }
inside && /^ *"count": / { taken[++branches] = value() + 0 > 0; throws[branches] = 0; next }
inside && /^ *"throw": true/ { throws[branches] = 1; next }
inside { next }
/^ *"count": / { line_count = value() + 0; next }
/^ *"gcovr\/excluded": / { excluded = value() == "true"; next }
/^ *"gcovr\/noncode": / { noncode = value() == "true"; next }
/^ *"line_number": / {
    number = value() + 0
    if (!excluded && !noncode)
        count_line()
}

END {
    printf "%-10s %6s %6s %6s %9s %6s %6s\n", "folder", "lines", "left", "%", "branches", "left", "%"
    wanted = split(folders, names, " ")
    for (i = 1; i <= wanted; i++) {
        name = names[i]
        report(name)
        all_lines["all"] += all_lines[name]
        missed_lines["all"] += missed_lines[name]
        all_branches["all"] += all_branches[name]
        missed_branches["all"] += missed_branches[name]
        if (line_percent(name) < line_goal || branch_percent(name) < branch_goal)
            short = short " " name
    }
    report("all")
    for (i = 1; i <= lefts; i++)
        print "left " left[i]
    if (short)
        print "short of " line_goal " % of lines or " branch_goal " % of branches:" short
    exit short != ""
}
