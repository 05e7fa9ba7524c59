# SPDX-License-Identifier: GPL-3.0-or-later
# The functional analysis, class "kelpra":
#
#   statistics  data frame, see statistics.R
#   matrices    W, B, E, F as given; T, Tn (normalised), X, X_crisp, P, DE, DT, DP, type_traits and,
#               with details, Y, DY, Q, Sb, U, C; with the user's names on rows and columns. Q and P
#               have the types as columns: the taxa are the same groups
#   diversity   data frame by community: D, Rf, FR, Rp, PR and the same after Jost, *_jost
#   types       membership (named by OTU), labels, counts, from, silhouette
#   settings    what check_settings() gave
#   data        the kelpra_data object
#   seed, versions (program, package, R), checksums (MD5 of the inputs), folder, report, seconds,
#   call

kelpra <- function(x, measure = c("mantel", "procrustes", "rv", "regression", "anova"),
                   null = c("taxa", "sites"),
                   iterations = 999, seed = 1, fuzzy = TRUE, tests = TRUE, within = NULL,
                   distance = c("euclidean", "chord"), variables = NULL, traits = NULL,
                   weight_groups = NULL, otus = NULL, otus_within = FALSE, otus_rescale = FALSE,
                   unit_totals = TRUE, details = FALSE,
                   two_tailed = TRUE, joint_absences = TRUE, sqrt_traits = TRUE, sqrt_phylo = FALSE,
                   beals_target = TRUE, axes_factor = 2, digits = 6, intermediate = FALSE,
                   processors = 0, session = "kelpra", folder = NULL, progress = interactive(),
                   patience = 20, timeout = Inf) {
  if (!inherits(x, "kelpra_data")) stop_kelpra("x must be made by kelpra_data().")
  s <- check_settings(mget(setdiff(names(formals()), run_arguments)), x)
  program <- kelpra_program()
  folder <- own_folder(folder)
  write_inputs(x, folder, s$within)
  checksums <- checksums_of(folder)
  run <- run_program(
    folder, session_answers(x, s), program, "Permutation test", progress, patience, timeout
  )
  report <- file.path(folder, paste0(s$session, "Prinda.txt"))
  if (!file.exists(report)) {
    stop_kelpra("The program ended without a report; see ", folder, ".", class = "kelpra_failure")
  }
  found <- read_report(report, x, s)
  structure(
    list(
      statistics = found$statistics, matrices = found$matrices, diversity = found$diversity,
      types = type_table(x), settings = s, data = x, seed = if (s$tests) s$seed,
      versions = versions(found$head, run$program),
      checksums = checksums, folder = folder, report = report, seconds = found$head$seconds,
      call = match.call()
    ),
    class = "kelpra"
  )
}

checksums_of <- function(folder) {
  files <- list.files(folder)
  stats::setNames(unname(tools::md5sum(file.path(folder, files))), files)
}

versions <- function(head, program) {
  list(
    program = head$version, package = as.character(utils::packageVersion("kelpra")),
    R = as.character(getRversion()), path = program
  )
}

type_table <- function(x) {
  list(
    membership = stats::setNames(x$types$labels[x$types$membership], rownames(x$B)),
    labels = x$types$labels,
    counts = stats::setNames(tabulate(x$types$membership, length(x$types$labels)), x$types$labels),
    from = x$types$from, silhouette = x$types$silhouette
  )
}

print.kelpra <- function(x, digits = 3, ...) {
  s <- x$settings
  cat("KELPRA ", x$versions$program, ": ", s$measure, ", ", sep = "")
  test <- paste0(s$null, " shuffle, ", s$iterations, " iterations, seed ", s$seed)
  cat(if (s$tests) test else "no tests", "\n", sep = "")
  cat(
    nrow(x$data$W), "communities,", ncol(x$data$W), "OTUs in", length(x$types$labels),
    if (s$fuzzy) "fuzzy" else "crisp", "types\n\n"
  )
  print(printed_statistics(x$statistics, digits), row.names = FALSE, right = FALSE)
  cat("\nReport: ", x$report, "\n", sep = "")
  invisible(x)
}

printed_statistics <- function(table, digits = 3) {
  show <- function(v) ifelse(is.na(v), "", formatC(v, digits = digits, format = "g"))
  interval <- ifelse(is.na(table$lower), "", paste0(show(table$lower), " to ", show(table$upper)))
  data.frame(
    statistic = table$name, value = show(table$value), P = show(table$P), `95 % of P` = interval,
    tails = ifelse(is.na(table$P), "", table$tails), check.names = FALSE
  )
}

summary.kelpra <- function(object, ...) {
  structure(list(fit = object, diversity = summary(object$diversity)), class = "summary.kelpra")
}

print.summary.kelpra <- function(x, ...) {
  print(x$fit)
  meaning <- unique(x$fit$statistics[c("name", "meaning")])
  cat("\n", paste0(format(meaning$name), "  ", meaning$meaning, "\n"), sep = "")
  cat("\nDiversity of communities:\n")
  print(x$diversity)
  cat("\nOTUs in each type (", x$fit$types$from, "):\n", sep = "")
  print(x$fit$types$counts)
  cat("\nInputs (MD5):\n")
  print(x$fit$checksums)
  cat(
    "\nWith R ", x$fit$versions$R, ", package kelpra ", x$fit$versions$package, ", program at ",
    x$fit$versions$path, "\n", sep = ""
  )
  invisible(x)
}

as.data.frame.kelpra <- function(
  x, row.names = NULL, optional = FALSE, what = c("statistics", "diversity", "T", "X", "P"), ...
) {
  what <- one_of(what, c("statistics", "diversity", "T", "X", "P"), "what")
  table <- if (what %in% names(x)) x[[what]] else x$matrices[[what]]
  if (is.null(table)) stop_kelpra("This analysis has no ", what, ".")
  table <- as.data.frame(table)
  if (!is.null(row.names)) rownames(table) <- row.names
  table
}
