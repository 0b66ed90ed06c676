# Mends what go-md2man writes: rows of tables stay whole and fit a page of 80 columns, a line that
# begins with dots is text, and no name is hyphenated.

BEGIN {
    PAGE = 68  # columns for a table
    LONG = 16  # columns from which on a cell may be broken into lines
}

/^\.TH/ { print $0 "\n.nh\n.ad l"; next }
/^\.TS/ { in_table = 1; cells = columns = 0; next }
/^\.TE/ { write_table(); in_table = 0; next }
!in_table && /^\.\.\./ { print "\\&" $0; next }
!in_table { print; next }
/^allbox;$|^l .*l $|^T\{$/ { next }
/^l .*\.$/ { columns = NF - ($NF == "."); next }
/^T\}$/ { is_open = 1; next }
{
    # Behind a block the rest of its row begins with a tab.
    count = split($0, part, "\t")
    for (k = 1; k <= count; k++)
        if (part[k] != "T{" && !(k == 1 && is_open && part[1] == "" && cells % columns != 0))
            cell[cells++] = part[k]
    is_open = 0
}

function width(text) {
    gsub(/\\f[A-Z]/, "", text)
    gsub(/\\[&.:]/, "", text)
    return length(text)
}

function longest_word(text,    word, n, k, most) {
    n = split(text, word, / |\\:/)
    for (k = 1; k <= n; k++)
        if (width(word[k]) > most)
            most = width(word[k])
    return most
}

# Sets most[] to the widths of the columns, and least[] to those of their longest words.
function measure(    k, column) {
    for (column = 0; column < columns; column++)
        most[column] = least[column] = 1
    for (k = 0; k < cells; k++) {
        gsub(/\//, "/\\:", cell[k])
        column = k % columns
        if (width(cell[k]) > most[column])
            most[column] = width(cell[k])
        if (longest_word(cell[k]) > least[column])
            least[column] = longest_word(cell[k])
    }
}

# Shares the page among the columns: long ones get what the short ones leave, by their lengths.
function share(    column, rest, sum) {
    rest = PAGE
    for (column = 0; column < columns; column++) {
        rest -= 3 + (most[column] > LONG ? least[column] : most[column])
        sum += most[column] > LONG ? most[column] - least[column] : 0
    }
    for (column = 0; column < columns; column++)
        if (most[column] > LONG && sum > 0)
            most[column] = least[column] + int(rest * (most[column] - least[column]) / sum)
}

function write_table(    k, column, all, spec) {
    measure()
    for (column = 0; column < columns; column++)
        all += most[column] + 3
    if (all > PAGE)
        share()
    for (column = 0; column < columns; column++)
        spec = spec "lw(" most[column] "n) "
    print ".TS\nallbox;\n" spec "."
    for (k = 0; k < cells; k++)
        printf (width(cell[k]) > most[k % columns] ? "T{\n%s\nT}%s" : "%s%s"), cell[k],
               (k + 1) % columns == 0 ? "\n" : "\t"
    print ".TE"
}
