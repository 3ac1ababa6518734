# Reads a JUnit file of ctest. Writes "failed NAME" and "skipped NAME" for what did not pass, and last
# "counts PASSED FAILED SKIPPED". What ctest could not start counts as failed, not as skipped; so does a file
# without tests or without its end. Output of tests is escaped in the file, so tags can be told by their "<".

function name_of(line) {
    sub(/^[ \t]*<testcase name="/, "", line)
    sub(/".*/, "", line)
    gsub(/&lt;/, "<", line)
    gsub(/&gt;/, ">", line)
    gsub(/&quot;/, "\"", line)
    gsub(/&amp;/, "\\&", line)
    return line
}

function verdict() {
    if (status == "run")
        passed++
    else if (status == "disabled" || (status == "notrun" && asked_to_skip)) {
        skipped++
        print "skipped " name
    } else {
        failed++
        print "failed " name
    }
}

/^[ \t]*<testcase / {
    name = name_of($0)
    status = $0
    sub(/.* status="/, "", status)
    sub(/".*/, "", status)
    asked_to_skip = 0
}
/^[ \t]*<skipped message="SKIP_/ { asked_to_skip = 1 }
/^[ \t]*<\/testcase>/ { verdict() }
/^<\/testsuite>/ { complete = 1 }

END {
    if (!complete || passed + failed + skipped == 0) {
        failed++
        print "failed (no test ran, or the run broke off)"
    }
    printf "counts %d %d %d\n", passed, failed, skipped
}
