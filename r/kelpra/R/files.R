# SPDX-License-Identifier: GPL-3.0-or-later
# The program's side of a data set: raw files, and the answers that take them through the dialogue.
#
# write_inputs(x, folder, within)   B.txt, W.txt, species.txt and, where there are, E.txt, F.txt,
#                                   types.txt, nesting.txt; gives the names of the files
# data_answers(x, session)          a new session up to its session menu
# analysis_answers(x, s)            the functional analysis, from the analysis menu back to it
# session_answers(x, s, analysis)   a whole script: preferences, data, the analysis menu, exit.
#                                   Another analysis of the same data (a ranking) gives its own

write_inputs <- function(x, folder, within = NULL) {
  file <- function(name) file.path(folder, name)
  write_matrix(x$B, x$keys$traits$label, file("B.txt"))
  write_matrix(x$W, x$keys$communities$label, file("W.txt"))
  write_lines(x$keys$otus$label, file("species.txt"))
  if (!is.null(x$E)) write_matrix(x$E, x$keys$variables$label, file("E.txt"))
  if (!is.null(x$F)) write_matrix(x$F, NULL, file("F.txt"))
  if (!x$types$species) write_lines(x$types$membership, file("types.txt"))
  if (!is.null(within)) write_lines(within, file("nesting.txt"))
  list.files(folder)
}

# Fifteen digits, of which the program keeps six; the same bytes on every system.
write_matrix <- function(M, labels, path) {
  M[is.na(M)] <- missing_code
  rows <- apply(formatC(M, digits = 15, width = 1, format = "g"), 1, paste, collapse = "\t")
  write_lines(c(rows, paste(labels, collapse = "\t")[!is.null(labels)]), path)
}

write_lines <- function(lines, path) {
  connection <- file(path, "wb")
  on.exit(close(connection))
  writeLines(as.character(lines), connection, sep = "\n", useBytes = TRUE)
}

row_of <- function(numbers) paste(numbers, collapse = " ")

data_answers <- function(x, session) {
  groups <- x$trait_groups
  c(
    "N", session, "1",
    "B.txt", if (is.null(x$F)) "0" else c("1", "F.txt"), "W.txt", "1", "species.txt",
    if (is.null(x$E)) "0" else c("1", "E.txt"),
    nrow(x$B), ncol(x$B), "2", "2",                        # labels at the end, a line an OTU
    "k", row_of(x$trait_types), "y",
    if (is.null(groups)) "0" else c("1", "k", row_of(groups), "y"),
    if (!is.null(x$F)) if (x$phylo_kind == "distance") "1" else "2",
    nrow(x$W), "2", "1",                                   # labels at the end, a line a community
    "2",                                                   # species labels made by the program
    if (!is.null(x$E)) env_answers(x)
  )
}

env_answers <- function(x) {
  c(
    ncol(x$E), "2", x$env_kind,
    if (x$env_kind == 5) c("k", row_of(x$env_types), "y"),
    if (ncol(x$E) > 1) "N"                                 # a line a community
  )
}

# How OTUs are grouped into types; a ranking asks the same.
type_answers <- function(x, fuzzy) {
  c(if (x$types$species) "y" else c("n", "f", "types.txt"), if (fuzzy) "1" else "0")
}

analysis_answers <- function(x, s) {
  c(
    "H", type_answers(x, s$fuzzy),
    yn(s$tests), if (s$tests) test_answers(s),
    measure_codes[[s$measure]],
    if (s$measure %in% c("mantel", "anova")) distance_codes[[s$distance]],
    if (!is.null(x$E)) choice_answers(s$variables),
    choice_answers(s$traits),
    if (!is.null(x$trait_groups)) yn(s$weight_groups),
    choice_answers(s$otus),
    if (any(s$otus == 0)) c(yn(s$otus_within), yn(s$otus_rescale)),
    yn(s$unit_totals), yn(s$details)
  )
}

test_answers <- function(s) {
  c(plain_number(s$iterations), null_answers(s), "2", plain_number(s$seed))
}

null_answers <- function(s) {
  if (s$null == "sites") return("s")
  c("t", if (is.null(s$within)) "0" else c("1", "f", "nesting.txt"))
}

choice_answers <- function(chosen) if (all(chosen == 1)) "1" else c("2", row_of(chosen))

session_answers <- function(x, s, analysis = analysis_answers(x, s)) {
  c(preference_answers(s), data_answers(x, s$session), "V", analysis, "C", "C", "X")
}
