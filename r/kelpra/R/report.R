# SPDX-License-Identifier: GPL-3.0-or-later
# The report of a functional analysis, read back with names.
#
# read_report(path, x, s)   list(statistics, matrices, diversity, head); x the data, s the settings
# report_lines(path)        lines of the last analysis in the file
# report_head(lines)        what the head and the notes say: version, session, seed, tails ...
# numbers_below(lines, at)  the table of numbers that begins on line at: a matrix, or NULL; a lower
#                           half comes back as the symmetric matrix
#
# Texts are the program's own; a heading that is not found gives no matrix: most depend on settings.

# name, the beginning of its heading, what its rows and columns are
report_tables <- matrix(c(
  "Y",  "Community matrix Y with Beals",                      "communities", "otus",
  "DY", "Resemblance matrix \\(DY\\)",                        "communities", "communities",
  "Q",  "Fuzzy belonging of [0-9]+ OTUs \\(rows\\) in",       "otus",        "types",
  "P",  "Pooled performance matrix P ",                       "communities", "types",
  "DP", "Resemblance matrix \\(DP\\)",                        "communities", "communities",
  "DE", "Resemblance matrix \\(DE\\)",                        "communities", "communities",
  "T",  "Matrix T with trait averages",                       "communities", "traits",
  "Tn", "Matrix T with normalized traits",                    "communities", "traits",
  "DT", "Resemblance matrix \\(DT\\)",                        "communities", "communities",
  "Sb", "Similarity matrix between [0-9]+ OTUs, based on",    "otus",        "otus",
  "U",  "Fuzzy degrees of belonging \\(matrix U\\)",          "otus",        "types",
  "C",  "Crisp degrees of belonging \\(matrix C\\)",          "otus",        "types",
  "type_traits", "Average trait matrix \\(",                  "types",       "traits",
  "X_crisp", "Pooled performance community matrix ",          "communities", "types",
  "X",  "Pooled performance matrix X ",                       "communities", "types"
), ncol = 4, byrow = TRUE, dimnames = list(NULL, c("name", "heading", "rows", "columns")))

# column of the diversity table, the heading of its line, the section it stands in
report_vectors <- matrix(c(
  "D",       "Gini-Simpson index",                     "^FUNCTIONAL DIVERSITY",
  "Rf",      "Rao quadratic entropy",                  "^FUNCTIONAL DIVERSITY",
  "FR",      "Functional redundancy",                  "^FUNCTIONAL DIVERSITY",
  "Rp",      "Rao quadratic entropy",                  "^PHYLOGENETIC DIVERSITY",
  "PR",      "Phylogenetic redundancy",                "^PHYLOGENETIC DIVERSITY",
  "D_jost",  "Gini-Simpson index",                     "^Diversity using Jost",
  "Rf_jost", "Rao quadratic entropy",                  "^Diversity using Jost",
  "FR_jost", "Functional redundancy",                  "^Diversity using Jost",
  "Rp_jost", "Rao quadratic entropy",                  "^PHYLOGENETIC REDUNDANCY",
  "PR_jost", "Phylogenetic redundancy",                "^PHYLOGENETIC REDUNDANCY"
), ncol = 3, byrow = TRUE, dimnames = list(NULL, c("name", "heading", "section")))

read_report <- function(path, x, s) {
  lines <- report_lines(path)
  head <- report_head(lines)
  check_head(head, x, s, path)
  list(
    statistics = read_statistics(lines, s), matrices = read_matrices(lines, x),
    diversity = read_diversity(lines, rownames(x$W)),
    head = head
  )
}

report_lines <- function(path) {
  lines <- any_bytes(path)
  starts <- grep("^EXPLORATION OF COMMUNITY DATA STRUCTURES", lines)
  if (!length(starts)) stop_kelpra(quoted(path), " is no report of a functional analysis.")
  before <- lines[seq_len(starts[1] - 1)]
  banner <- if (length(starts) == 1) before else grep("KELPRA v", before, value = TRUE)
  c(banner, lines[utils::tail(starts, 1):length(lines)])
}

# Lines of a file in whatever encoding: each byte is taken as a letter.
any_bytes <- function(path) iconv(readLines(path, warn = FALSE), "latin1", "UTF-8")

report_head <- function(lines) {
  after <- function(pattern) {
    at <- grep(pattern, lines)
    if (length(at)) trimws(sub(pattern, "", lines[at[1]])) else NA_character_
  }
  number <- function(pattern) suppressWarnings(as.numeric(sub("[^0-9].*", "", after(pattern))))
  list(
    version = after("^.*KELPRA v\\."), session = after("^Session:"),
    data = after("^Formatted data:"),
    source = after("^Unformatted data:"),
    weights = as.numeric(strsplit(after("^Trait weights:"), "\t")[[1]]),
    communities = number("^Number of communities:"), otus = number("^Partition vector of"),
    types = number("^Number of types examined:"),
    measure = after("^The statistics shown below are"),
    iterations = number("^Number of iterations for permutation tests:"),
    seed = number("^Random generator seed:"),
    tails = sub("-.*", "", after("^Permutation tests generated ")),
    seconds = as.numeric(sub(" .*", "", after("^Elapsed time for the test\\(s\\):")))
  )
}

# The program matches by position and counts; a report of other sizes is not that of these data.
check_head <- function(head, x, s, path) {
  expected <- list(
    communities = nrow(x$W), otus = nrow(x$B), types = length(x$types$labels), session = s$session,
    iterations = if (s$tests) s$iterations else NA, seed = if (s$tests) s$seed else NA
  )
  for (item in names(expected)) {
    if (expected[[item]] %in% c(NA, head[[item]])) next
    stop_kelpra(
      "The report ", quoted(path), " is not of these data: its number of ", item, " is ",
      head[[item]], ", not ",
      expected[[item]], ".", class = "kelpra_failure"
    )
  }
}

# --- tables ------------------------------------------------------------------------------------

read_matrices <- function(lines, x) {
  names_of <- list(
    communities = rownames(x$W), otus = rownames(x$B), traits = colnames(x$B),
    types = x$types$labels
  )
  tables <- lapply(seq_len(nrow(report_tables)), function(i) {
    row <- report_tables[i, ]
    at <- grep(paste0("^", row[["heading"]]), lines)
    if (!length(at)) return(NULL)
    table <- numbers_below(lines, at[1] + 1)
    if (is.null(table)) return(NULL)
    matrix(table, nrow(table), dimnames = unname(names_of[row[c("rows", "columns")]]))
  })
  names(tables) <- report_tables[, "name"]
  given <- list(W = x$W, B = x$B, E = x$E, F = x$F)
  c(Filter(Negate(is.null), given), Filter(Negate(is.null), tables))
}

numeric_line <- "^[ \t]*[-+]?([0-9]|inf|nan)[-+0-9.einfa \t]*$"

numbers_below <- function(lines, at) {
  while (at <= length(lines) && grepl("^(Selected traits:|$)", lines[at])) at <- at + 1
  last <- at
  while (last <= length(lines) && grepl(numeric_line, lines[last])) last <- last + 1
  if (last == at) return(NULL)
  rows <- strsplit(trimws(lines[at:(last - 1)]), "[ \t]+")
  values <- suppressWarnings(as.numeric(unlist(rows)))
  values[!is.na(values) & values == missing_code] <- NA
  shape(values, lengths(rows))
}

shape <- function(values, widths) {
  n <- length(widths)
  if (n == 1 || all(widths == widths[1])) return(matrix(values, n, byrow = TRUE))
  if (!identical(as.integer(widths), seq_len(n))) {
    stop_kelpra("A table of the report has rows of unlike length.")
  }
  m <- matrix(0, n, n)
  m[upper.tri(m, diag = TRUE)] <- values
  m[lower.tri(m)] <- t(m)[lower.tri(m)]
  m
}

read_diversity <- function(lines, communities) {
  columns <- lapply(seq_len(nrow(report_vectors)), function(i) {
    row <- report_vectors[i, ]
    section <- grep(row[["section"]], lines)
    if (!length(section)) return(NULL)
    at <- section[1] + grep(paste0("^", row[["heading"]]), lines[-seq_len(section[1])])[1]
    as.vector(numbers_below(lines, at + 1))
  })
  names(columns) <- report_vectors[, "name"]
  columns <- Filter(Negate(is.null), columns)
  if (length(columns)) data.frame(columns, row.names = communities)
}
