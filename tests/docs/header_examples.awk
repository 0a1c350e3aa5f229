# Makes one program of the examples in the public headers: every @code{.cpp} ... @endcode block is a
# list of statements and becomes the body of a function. Compiler and assert name the line of the
# header.
#
# awk -v output=FILE -f header_examples.awk HEADER...

function stop(message) {
    printf "%s:%d: %s\n", FILENAME, FNR, message > "/dev/stderr"
    failed = 1
    exit 1
}

BEGIN {
    for (i = 1; i < ARGC; ++i) {
        header = ARGV[i]
        if (sub(/.*\/include\//, "", header)) {
            print "#include <" header ">" > output
        }
    }
    print "#include <algorithm>" > output
    print "#include <cassert>" > output
    print "#include <cerrno>" > output
    print "#include <cstring>" > output
    print "#include <iostream>" > output
    print "#include <sstream>" > output
}

FNR == 1 && inside {
    stop("the header before this one ends inside of an example")
}

/@code/ {
    if (inside || $0 !~ /^[ \t]*\/\/\/ @code\{\.cpp\}$/) {
        stop("an example starts with a line \"/// @code{.cpp}\"")
    }
    inside = 1
    place[++count] = FILENAME ":" FNR
    printf "static void example_%d() {\n#line %d \"%s\"\n", count, FNR + 1, FILENAME > output
    next
}

/@endcode/ {
    if (!inside) {
        stop("no example ends here")
    }
    inside = 0
    print "}" > output
    next
}

inside {
    if (!sub(/^[ \t]*\/\/\/ ?/, "")) {
        stop("an example without its @endcode")
    }
    print > output
}

END {
    if (failed) {
        exit 1
    }
    if (inside || count == 0) {
        stop(inside ? "an example without its @endcode" : "no examples at all")
    }
    print "int main() {" > output
    for (i = 1; i <= count; i++) {
        printf "    std::cout << \"%s\" << std::endl;\n    example_%d();\n", place[i], i > output
    }
    print "}" > output
}
