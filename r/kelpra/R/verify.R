# SPDX-License-Identifier: GPL-3.0-or-later
# A report run again from what lies beside it: class "kelpra_verification".
#
#   same, and if not: line (its number), expected, found, reason; report, folder (of the new run)
#
# The data are those of the session's formatted file, the settings are read off the report. What it
# does not tell (which variables were chosen) comes from the fit or from the argument.

kelpra_verify <- function(
  x, variables = NULL, folder = NULL, progress = interactive(), patience = 20, timeout = Inf
) {
  fit <- if (inherits(x, "kelpra")) x
  path <- if (is.null(fit)) x else fit$report
  if (!is.character(path) || length(path) != 1 || !file.exists(path)) {
    stop_kelpra("There is no report ", quoted(path), ".")
  }
  program <- kelpra_program()
  lines <- report_lines(path)
  head <- report_head(lines)
  data_file <- session_data(dirname(path), head)
  session <- read_session(data_file)
  s <- settings_of_report(lines, head, session)
  s$variables <- if (is.null(fit)) chosen(
    variables, session$variables, "variables"
  ) else fit$settings$variables
  folder <- own_folder(folder)
  file.copy(data_file, folder)
  write_lines(c(basename(data_file), "07Jul17"), file.path(folder, paste0(s$session, "Trk.txt")))
  write_lines(s$membership, file.path(folder, "types.txt"))
  if (!is.null(s$within)) write_lines(s$within, file.path(folder, "nesting.txt"))
  answers <- c(
    preference_answers(s), "O", s$session, "V", analysis_answers(as_answered(session, s), s), "C",
    "C", "X"
  )
  run_program(folder, answers, program, "Verification", progress, patience, timeout)
  again <- report_lines(file.path(folder, paste0(s$session, "Prinda.txt")))
  verification(
    lines, again, path, folder, changed_inputs(fit), !is.null(fit) || !is.null(variables)
  )
}

# The first line of the track file names the data; without one the report's head does.
session_data <- function(folder, head) {
  track <- file.path(folder, paste0(head$session, "Trk.txt"))
  named <- if (file.exists(track)) trimws(readLines(track, 1, warn = FALSE)) else head$data
  path <- file.path(folder, if (length(named)) named else head$data)
  if (!file.exists(path)) stop_kelpra("The data of the report are missing: there is no ", path, ".")
  path
}

# Counts and labels of a formatted data file, and whether there are phylogeny and trait groups.
read_session <- function(path) {
  lines <- any_bytes(path)
  words <- unlist(strsplit(lines[-1], "[ \t]+"))
  words <- words[words != ""]
  take <- function(n) { taken <- words[seq_len(n)]; words <<- utils::tail(
    words, length(words) - n
  ); taken }
  count <- function() as.integer(take(1))
  nTraits <- count()
  traits <- take(nTraits)
  take(3 * nTraits)
  nCommunities <- count()
  take(nCommunities)
  nOtus <- count()
  take(nCommunities + 8 + nOtus * (nTraits + nCommunities))
  nVariables <- count()
  variables <- if (nVariables) { take(2 + nVariables); take(nVariables) }
  words <- words[-seq_len(max(which(words == "SMW")) + 1)]
  if (count() == 1) take(
    switch(
      take(1), `1` = nOtus^2, `3` = nOtus^2, `0` = 0,
      stop_kelpra("A phylogeny of variables cannot be verified.")
    )
  )
  list(
    traits = traits, variables = variables, otus = nOtus,
    groups = if (count() == 1) as.integer(take(nTraits))
  )
}

# analysis_answers() wants to know of the data what decides its questions.
as_answered <- function(session, s) {
  list(E = session$variables, trait_groups = session$groups, types = list(species = s$species))
}

settings_of_report <- function(lines, head, session) {
  said <- function(text) any(grepl(text, lines))
  row <- function(text, offset = 1) {
    at <- grep(text, lines)
    if (length(at)) as.numeric(
      strsplit(trimws(sub("^.*:\t", "", lines[at[1] + offset])), "\t")[[1]]
    )
  }
  otus <- row("^OTUs weights ")
  species <- said("^The types are species ")
  list(
    session = head$session, measure = measure_of(head$measure),
    fuzzy = said("^Fuzzy transformation: \tfuzzy"),
    tests = !is.na(head$iterations), iterations = head$iterations, seed = head$seed,
    null = if (said("^Null model based on site shuffle")) "sites" else "taxa",
    within = row("^Nesting groups for", 0),
    distance = if (said("^Resemblance option between communities: 10")) "chord" else "euclidean",
    traits = as.integer(head$weights > 0), weight_groups = any(!head$weights %in% 0:1),
    otus = if (is.null(otus)) rep(1L, session$otus) else otus,
    otus_within = said("RESTRICTED to dis-similarities"),
    otus_rescale = said("^Scale was maintained"),
    unit_totals = !said("W NOT adjusted to unit totals prior to evaluation of TDAP"),
    details = said("^Community matrix W with"),
    two_tailed = !said("generated ONE-tailed"),
    joint_absences = !said("matching absences in binary traits\\? not"),
    sqrt_traits = !said(
      "based on traits computed on square root transformed dissimilarities\\? not"
    ),
    sqrt_phylo = said(
      "based on phylogeny computed on square root transformed dissimilarities\\? yes"
    ),
    beals_target = !said("target OTU NOT included"), axes_factor = factor_of(lines),
    digits = digits_of(lines),
    intermediate = FALSE, processors = 0, species = species,
    membership = row("^Partition vector of [0-9]+ OTUs in [0-9]+ specified types")
  )
}

measure_of <- function(text) {
  starts <- c(
    mantel = "matrix", procrustes = "Procrustes", rv = "RV", regression = "the r square",
    anova = "pseudo-F"
  )
  found <- names(starts)[startsWith(text, starts)]
  if (length(found) == 1) return(found)
  stop_kelpra("The report ends before its statistics and cannot be verified.")
}

factor_of <- function(lines) {
  at <- grep("^Factor \\(f\\) for limiting", lines, value = TRUE)
  if (length(at)) as.numeric(sub(".*: ", "", at[1])) else 2
}

# The most digits that any mean of a trait is printed with.
digits_of <- function(lines) {
  at <- grep("^Matrix T with normalized traits", lines)[1]
  last <- at + which(lines[-seq_len(at)] == "")[1]
  numbers <- unlist(strsplit(trimws(lines[(at + 1):(last - 1)]), "[ \t]+"))
  max(1, nchar(gsub("^0+", "", gsub("[-.]|e.*", "", numbers))))
}

# --- comparing ---------------------------------------------------------------------------------

masked <- function(lines) {
  date <- "\\b(Mon|Tue|Wed|Thu|Fri|Sat|Sun) [A-Z][a-z]{2} [ 0-9]{2} [0-9:]{8} [0-9]{4}"
  sub("(Elapsed time[^:]*: )[-+.0-9e]+", "\\1", gsub(date, "", lines))
}

verification <- function(lines, again, report, folder, changed, variables_known) {
  old <- without_banner(masked(lines))
  new <- without_banner(masked(again))
  n <- max(length(old), length(new))
  differs <- which(c(old, rep("", n))[seq_len(n)] != c(new, rep("", n))[seq_len(n)])
  result <- list(same = !length(differs), report = report, folder = folder)
  if (length(differs)) {
    at <- differs[1]
    result <- c(result, list(
      line = at + length(lines) - length(old), expected = old[at], found = new[at],
      reason = likely_reason(old[at], new[at], changed, variables_known)
    ))
  }
  structure(result, class = "kelpra_verification")
}

# A report that was appended to an older file has no banner of its own.
without_banner <- function(lines) {
  banner <- grepl("^CHARACTER-BASED COMMUNITY ANALYSIS", lines)
  c(lines[banner], lines[grep("^EXPLORATION OF", lines)[1]:length(lines)])
}

likely_reason <- function(expected, found, changed, variables_known) {
  both <- paste(expected, found)
  if (grepl("KELPRA v", both)) {
    return("the reports were written by different versions of the program")
  }
  if (length(changed)) return(paste("the data changed since:", listed(changed)))
  if (is.na(expected) || is.na(found)) return("one of the reports ends early")
  if (grepl("-tailed", both)) return("one run was one-tailed, the other two-tailed (preferences)")
  old <- numbers_in(expected)
  new <- numbers_in(found)
  if (length(old) && length(old) == length(new)) {
    if (isTRUE(all.equal(old, new, tolerance = 1e-4))) {
      return("the last digits differ, as with another build or machine")
    }
    if (grepl("P=|p-value=", expected) && identical(old[1], new[1])) {
      return(
        "the statistic is the same and its P is not: other shuffles, or preferences of tails"
      )
    }
    if (!variables_known) {
      return(
        "the data file was changed, or a selection of variables was used (argument variables)"
      )
    }
  }
  "the data file or the report was changed since"
}

numbers_in <- function(line) {
  words <- strsplit(line, "[ \t=]+")[[1]]
  values <- suppressWarnings(as.numeric(words))
  values[!is.na(values)]
}

changed_inputs <- function(fit) {
  if (is.null(fit)) return(character(0))
  now <- tools::md5sum(file.path(fit$folder, names(fit$checksums)))
  names(fit$checksums)[is.na(now) | now != fit$checksums]
}

print.kelpra_verification <- function(x, ...) {
  if (x$same) {
    cat("Same: running it again gave the report ", x$report, " but for times.\n", sep = "")
  } else {
    cat(
      "Different: line ", x$line, " of ", x$report, "\n  was: ", x$expected, "\n  is:  ", x$found,
      "\nLikely reason: ", x$reason, ".\n", sep = ""
    )
    cat("The new run is in ", x$folder, ".\n", sep = "")
  }
  invisible(x)
}
