# Shows doxygen the plain comments of a header. Lines keep their numbers.
#
#   - A block of "//" lines directly above a declaration belongs to it, and to the declarations
#     below it down to the next blank line, comment or access label: a family shares its comment.
#   - A "//" behind a declaration belongs to it.
#   - A block with a blank line or a namespace below it belongs to the file.
#   - No comment is asked of what says it all: a constructor, which the comment of its class is
#     about, a destructor, what is deleted or defaulted, a field, and an operation whose body, on
#     its own line, returns one. What is protected counts as private.

{ line[NR] = $0 }

END {
    n = split(FILENAME, part, "/")
    printf "/** \\file %s %s */\n", part[n], intro()
    depth = 0
    for (i = 2; i <= NR; i++)
        print show(line[i])
}

function is_comment(text) { return text ~ /^ *\/\// }
function is_layout(text) { return text ~ /^ *\/\/ clang-format o/ }
function words(text) { sub(/^ *\/\/ ?/, "", text); return text }

# The line below the block that line k is of.
function below(k) {
    while (is_comment(line[k]))
        k++
    return line[k]
}

function is_alone(k) { return below(k) ~ /^ *$|^namespace |^ *(public|protected|private):|^ *}/ }

# All blocks that belong to the file, a paragraph each.
function intro(    k, text) {
    for (k = 2; k <= NR; k++) {
        if (is_comment(line[k]) && !is_layout(line[k]) && is_alone(k))
            text = text " " plain(words(line[k]))
        else if (text !~ /<br>$/ && text != "")
            text = text "<br>"
    }
    return text
}

# What doxygen would take for a command, a tag or a link.
function plain(text) {
    gsub(/[\\@&$#<>%"]/, "\\\\&", text)
    gsub(/::/, "\\::", text)
    gsub(/\*\//, "* /", text)
    return text
}

function show(text,    head) {
    if (text ~ /^ *$/) {
        if (depth == 0 || kind[depth] != "body")
            family = ""
        fresh = 0
        return text
    }
    if (is_comment(text))
        return comment(text)
    if (statement == "" && (depth == 0 || kind[depth] == "space" || kind[depth] == "class"))
        head = before(text)
    fresh = 0
    sub(/^ *protected:/, "private:", text)
    follow(text)
    if (text ~ /[;,] +\/\/ /)
        text = behind(text)
    return head text
}

function comment(text,    out) {
    if (is_layout(text) || is_alone(i)) {
        family = is_layout(text) ? family : ""
        return ""
    }
    if (!is_comment(line[i - 1]))
        family = ""
    out = words(text)
    is_table = out ~ /^ ( |[^ ])/
    out = plain(out)
    fresh = 1
    family = family (is_table ? "<br>" : " ") (out == "" ? "<br>" : out)
    if (is_table && !in_table)
        out = "<pre>" out
    if (in_table = is_table && is_comment(line[i + 1]) && words(line[i + 1]) ~ /^ /)
        return "/// " out
    return "/// " out (is_table ? "</pre>" : "")
}

function behind(text,    k) {
    match(text, /[;,] +\/\/ /)
    k = RSTART + RLENGTH
    return substr(text, 1, RSTART) " ///< " plain(substr(text, k))
}

# The comment that a declaration gets on its own line.
function before(text,    all, k) {
    if (text ~ /^ *(public|protected|private):/ || text ~ /^ *}/) {
        family = ""
        return ""
    }
    if (fresh || text ~ /^(namespace |#)/ || text ~ /^ *(class|struct) [A-Za-z_]+;/)
        return ""
    for (k = i; k <= NR && all !~ /[;{]/; k++)
        all = all line[k]
    if (all ~ /= (delete|default);/)
        return "/** As the compiler has it. */ "
    if (all ~ /^ *(virtual )?~/)
        return "/** The end of the object. */ "
    if (family != "")
        return "/** " family " */ "
    if (depth == 0 || kind[depth] != "class")
        return ""
    if (all ~ "^ *([[][[]nodiscard[]][]] )?(explicit )?" name[depth] "[(]")
        return "/** See the class. */ "
    if (all !~ /[(]|using |enum |struct |class |\/\/ / || line[i] ~ /^[^{]* const( noexcept)? [{] return .*; [}]$/)
        return "/** As its name says. */ "
    return ""
}

# Goes through the braces of a line, to know what is open and where a declaration ends.
function follow(text,    k, c) {
    gsub(/"([^"\\]|\\.)*"|'([^'\\]|\\.)*'/, "x", text)
    sub(/ *\/\/.*/, "", text)
    if (text ~ /^ *(#|(public|protected|private):)/)
        return
    for (k = 1; k <= length(text); k++) {
        c = substr(text, k, 1)
        if (c == "{")
            kind[++depth] = opened(statement)
        if (c == "{" && kind[depth] ~ /space|class/)
            statement = family = ""
        else if (c == "}")
            closed(substr(text, k + 1))
        else if (c == ";" && (depth == 0 || kind[depth] ~ /space|class/))
            statement = ""
        else if (c != " " || statement != "")
            statement = statement c
    }
}

function opened(text) {
    if (text ~ /^namespace/)
        return "space"
    if (text !~ /^(class|struct) /)
        return "body"
    sub(/ *(final *)?(:.*)?$/, "", text)
    sub(/.* /, "", text)
    name[depth] = text
    return "class"
}

function closed(rest,    was) {
    was = kind[depth--]
    # A body ends a declaration unless a semicolon, or more of it, is to come.
    if (was == "body" && kind[depth] != "body" && rest ~ /^ *$/)
        statement = ""
    if (was != "body")
        statement = rest ~ /^ *;/ ? "}" : ""
}
