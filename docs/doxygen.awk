# Makes the headers' comments those of Doxygen: the one at the head of a file describes the file, one
# before a declaration or behind it describes that. Comments that stand alone describe nothing.

function release(mark,    i) {
    for (i = 1; i <= held; ++i) {
        sub(/\/\//, mark, comment[i])
        print comment[i]
    }
    held = 0
}

/^ *\/\/( |$)/ { comment[++held] = $0; next }

held && NR == held + 1 { print "/// @file"; release("///") }
held { release(/^$|^namespace|^ *[}#]/ || comment[held] ~ /\/\/ ---/ ? "//" : "///") }

/[^ \/].*[;,{}] *\/\/ / { sub(/\/\/ /, "///< ") }
{ print }
