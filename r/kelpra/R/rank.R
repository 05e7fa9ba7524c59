# SPDX-License-Identifier: GPL-3.0-or-later
# The ranking of trait subsets, class "kelpra_rank":
#
#   subsets     data frame, best first: value, size, traits (names, joined by " + ")
#   best        the best of each size: size, value, traits; NA where no subset has a value but 0
#   criterion, sizes, complete (whether subsets has all of them or the best 100)
#   settings, data (with the chosen traits and variables alone), versions, checksums, folder,
#   report, seconds, call
#
# The program matches a criterion by number and names it by the file that it writes.

# number in the menu, file, what it needs of E (E), phylogeny (F), means of traits (T)
rank_criteria <- data.frame(
  number = c(1, 9, 10, 16, 17, 11, 12, 13, 14, 15, 18:24),
  file = c(
    "TDAP_TCAP", "TDAP", "TCAP", "AlphaDivergence", "BetaDivergence", "PSAP_X", "PSAP_X_T",
    "PSAP_T", "BetaNicheConserv", "AlphaBetaNicheConserv", "roXZ", "roTZ", "roXZ_T", "roXY",
    "roTY", "roXY_T", "DarkDiversity"
  ),
  needs = c(
    "E", "ET", "ET", "E", "ET", "F", "FT", "FT", "EFT", "EF", "", "T", "T", "", "T", "T", "E"
  ),
  mark = c(
    "", "ro(XE.T)=", "", "r(RE)=", "r(XE.TR)=", "ro(PX)=", "ro(PX.T)=", "ro(PT)=", "roBetaNiche=",
    "roAlphaBetaNiche=", "r(XZ)=", "r(TZ)=", "r(XZ.T)=", "r(XY)=", "r(TY)=", "r(XY.T)=", "r(SE)="
  ),
  row.names = c(
    "XE", "XE.T", "TE", "RE", "XE.TR", "PX", "PX.T", "PT", "PT*TE", "PX*XE", "XZ", "TZ", "XZ.T",
    "XY", "TY", "XY.T", "SE"
  )
)

kelpra_rank <- function(x, criterion = "XE", sizes = NULL,
                        measure = c("mantel", "procrustes", "rv"),
                        fuzzy = TRUE, distance = c("euclidean", "chord"), variables = NULL,
                        traits = NULL, all = NULL, weight_groups = FALSE, unit_totals = TRUE,
                        joint_absences = TRUE, sqrt_traits = TRUE, sqrt_phylo = FALSE,
                        beals_target = TRUE, axes_factor = 2, digits = 6, processors = 0,
                        session = "kelpra", folder = NULL, progress = interactive(), patience = 20,
                        timeout = Inf) {
  if (!inherits(x, "kelpra_data")) stop_kelpra("x must be made by kelpra_data().")
  criterion <- one_of(criterion, rownames(rank_criteria), "criterion")
  measure <- one_of(measure, c("mantel", "procrustes", "rv"), "measure")
  x <- ranked_data(x, criterion, traits, variables)
  given <- setdiff(names(formals()), c(run_arguments, "criterion", "sizes", "all"))
  s <- mget(setdiff(given, c("traits", "variables")))
  s <- check_settings(do.call(default_settings, s), x)
  check_criterion(criterion, s, x)
  sizes <- rank_sizes(sizes, ncol(x$B))
  total <- sum(choose(ncol(x$B), sizes))
  if (is.null(all)) all <- total <= 4096
  run <- function(folder, sizes, all, progress = FALSE) {
    rank_run(x, s, criterion, sizes, flag(all, "all"), folder, progress, patience, timeout)
  }
  if (total > 10000) warn_time(total, run, ncol(x$B), sizes)
  folder <- own_folder(folder)
  result <- run(folder, sizes, all, progress)
  result$call <- match.call()
  result
}

rank_run <- function(x, s, criterion, sizes, all, folder, progress, patience, timeout) {
  program <- kelpra_program()
  write_inputs(x, folder)
  checksums <- checksums_of(folder)
  run_program(
    folder, session_answers(x, s, rank_answers(x, s, criterion, sizes, all)), program, "Ranking",
    progress, patience, timeout
  )
  report <- file.path(
    folder, paste0(s$session, "ChRank_", rank_criteria[criterion, "file"], ".txt")
  )
  if (!file.exists(report)) {
    stop_kelpra("The program ended without a report; see ", folder, ".", class = "kelpra_failure")
  }
  found <- read_ranking(any_bytes(report), x$keys$traits, criterion, sizes)
  version <- list(version = report_head(any_bytes(file.path(folder, "screen.txt")))$version)
  structure(
    c(found, list(
      criterion = criterion, sizes = sizes, settings = s, data = x,
      versions = versions(version, program), checksums = checksums, folder = folder,
      report = report
    )),
    class = "kelpra_rank"
  )
}

rank_answers <- function(x, s, criterion, sizes, all) {
  of_means <- criterion == "TE"
  c(
    "K", rank_criteria[criterion, "number"], if (!of_means) type_answers(x, s$fuzzy),
    measure_codes[[s$measure]],
    if (s$measure == "mantel" && !criterion %in% c("TE", "RE")) distance_codes[[s$distance]],
    if (!is.null(x$E)) "1",                                # all variables, all traits
    "1",
    if (!is.null(x$trait_groups)) yn(s$weight_groups),
    if (!of_means) yn(s$unit_totals),
    range(sizes), yn(all)
  )
}

# --- what may be asked ---------------------------------------------------------------------------

# A ranking takes all variables of the session, and enumerates traits that are left out as well: so
# the session gets those that are wanted. Two criteria look at OTUs one by one.
ranked_data <- function(x, criterion, traits, variables) {
  x <- narrowed(
    x, chosen(traits, colnames(x$B), "traits") == 1,
    chosen(variables, colnames(x$E), "variables") == 1
  )
  if (criterion %in% c("RE", "SE") && !x$types$species) {
    say("criterion '", criterion, "' wants each OTU as its own type: types are not used.")
    x$types <- species_types(rownames(x$B))
  }
  x
}

narrowed <- function(x, traits, variables) {
  x$B <- x$B[, traits, drop = FALSE]
  x$trait_types <- x$trait_types[traits]
  if (!is.null(x$trait_groups)) {
    x$trait_groups <- match(x$trait_groups[traits], unique(x$trait_groups[traits]))
  }
  x$trait_origin <- x$trait_origin[traits]
  x$keys$traits <- x$keys$traits[traits, ]
  check_common_traits(x$B)
  if (all(variables)) return(x)
  if (!any(variables)) stop_kelpra("No variable is chosen.")
  x$E <- x$E[, variables, drop = FALSE]
  x$keys$variables <- x$keys$variables[variables, ]
  x$env_types <- x$env_types[variables]
  if (x$env_kind == 5) x$env_kind <- kind_of_env(names(kind_codes)[x$env_types], "different")
  if (x$env_kind < 3) x$env_types[] <- 3L
  x
}

check_criterion <- function(criterion, s, x) {
  needs <- function(what) grepl(what, rank_criteria[criterion, "needs"])
  nominal <- colnames(x$B)[x$trait_types == 2]
  rules <- list(
    list(needs("E") && is.null(x$E), "needs env."),
    list(needs("F") && is.null(x$F), "needs phylo."),
    list(needs("T") && length(nominal) > 0, "takes means of traits, and ", listed(quoted(nominal)),
         " is nominal. Make the data with factors = \"columns\"."),
    list(grepl("*", criterion, fixed = TRUE) && s$measure != "mantel",
         "takes matrix correlation (mantel) in any case.")
  )
  for (rule in rules) if (rule[[1]]) {
    do.call(stop_kelpra, c("criterion ", quoted(criterion), " ", rule[-1]))
  }
  if (length(unique(x$types$membership)) < 2) stop_kelpra("A ranking needs two types at least.")
}

rank_sizes <- function(sizes, nTraits) {
  if (nTraits < 2) stop_kelpra("One trait alone has no subsets to rank.")
  if (is.null(sizes)) sizes <- seq_len(nTraits)
  for (size in sizes) whole(size, "sizes", 1, nTraits)
  sizes <- sort(unique(sizes))
  if (!length(sizes) || length(sizes) != diff(range(sizes)) + 1) {
    stop_kelpra("sizes must be a run of whole numbers such as 2:4.")
  }
  total <- sum(choose(nTraits, sizes))
  if (total > 2147483647) {
    stop_kelpra(
      "There are ", format(total, big.mark = " ", digits = 3), " subsets, more than the program ",
      "counts. Choose smaller sizes or fewer traits."
    )
  }
  sizes
}

# The smallest and the largest subsets are ranked first, to see how long one of each takes; those
# between lie between.
warn_time <- function(total, run, nTraits, sizes) {
  seconds <- total * subset_seconds(run, nTraits, sum(sizes * choose(nTraits, sizes)) / total)
  if (seconds < 60) return(invisible())
  warning(
    "There are ", format(total, big.mark = " "), " subsets of ", nTraits,
    " traits; ranking them takes about ", in_words(seconds), ". Fewer sizes or traits take less.",
    call. = FALSE, immediate. = TRUE
  )
}

subset_seconds <- function(run, nTraits, size) {
  ends <- list(1:2, nTraits - 1:0)
  each <- vapply(ends, function(few) {
    folder <- own_folder(NULL)
    on.exit(unlink(folder, recursive = TRUE))
    run(folder, few, FALSE)$seconds / sum(choose(nTraits, few))
  }, 0)
  max(each[1], each[1] + diff(each) * (size - 1.5) / (nTraits - 2))
}

# --- the report ----------------------------------------------------------------------------------

read_ranking <- function(lines, key, criterion, sizes) {
  title <- grep("^Trait subsets (and number of types )?with maximum", lines)
  rows <- strsplit(lines, "\t")
  best <- best_of_sizes(lines, rows, key, sizes)
  between <- rows[seq_len(title[1] - 1)]
  found <- subset_rows(between, key, rank_criteria[criterion, "mark"])
  complete <- nrow(found) == sum(choose(nrow(key), sizes))
  if (!complete) found <- subset_rows(rows[best_rows(lines, title)], key, "")
  size_first <- if (rank_by_size(criterion)) abs(found$value) else found$value
  found <- found[order(-size_first), ]
  rownames(found) <- NULL
  list(
    subsets = found, best = best, complete = complete,
    seconds = as.numeric(sub(".*: ([^ ]+) .*", "\\1", grep("^Elapsed", lines, value = TRUE)))
  )
}

# The best 100 stand under the first title, those of products of correlations under the second.
best_rows <- function(lines, titles) {
  from <- if (grepl("number of types", lines[titles[1]])) titles[2] else titles[1]
  from:(c(titles[titles > from], length(lines) + 1)[1] - 1)
}

# Partial correlations with a part taken out count by their size, whatever their sign.
rank_by_size <- function(criterion) {
  criterion %in% c("XE.T", "PX.T", "XE.TR", "XZ.T", "XY.T")
}

# Rows of a value and traits. A mark stands before the value, and "Traits:" before the traits, where
# the row tells more than one number.
subset_rows <- function(rows, key, mark) {
  read <- lapply(rows, function(row) {
    at <- if (nzchar(mark)) match(mark, row) + 1 else 1
    value <- suppressWarnings(as.numeric(row[at]))
    from <- if (nzchar(mark)) match("Traits:", row) else 1
    if (is.na(value) || is.na(from)) return(NULL)
    labels <- trimws(row[-seq_len(from)])
    labels <- labels[seq_len(match("Group sizes:", labels, length(labels) + 1) - 1)]
    subset_row(value, labels, key)
  })
  do.call(rbind, c(list(subset_row(0, character(0), key)[0, ]), read))
}

subset_row <- function(value, labels, key) {
  names <- key$name[match(labels, key$label)]
  names <- names[!is.na(names)]
  data.frame(value, size = length(names), traits = paste(names, collapse = " + "))[
    length(names) > 0 | !length(labels), 
  ]
}

# A line for each size; the products of two correlations have theirs at the top of the file, over
# which the program writes a table at last: subsets, numbers of types, values.
best_of_sizes <- function(lines, rows, key, sizes) {
  at <- grep("^Ranking criterion value and|^Ranking criterion value, groups", lines)
  if (length(at)) {
    values <- as.numeric(vapply(rows[at], `[`, "", 2))
    labels <- lapply(rows[at], function(row) row[-(1:2)])
  } else {
    labels <- rows[seq_along(sizes)]
    numbers <- Filter(length, rows[length(sizes) + 1:4])
    values <- as.numeric(numbers[[2]])
  }
  traits <- vapply(labels, function(l) {
    subset <- key$name[match(trimws(l), key$label, 0)]
    if (length(subset)) paste(subset, collapse = " + ") else NA_character_
  }, "")
  data.frame(size = sizes, value = values, traits)
}

# --- looking at it -------------------------------------------------------------------------------

print.kelpra_rank <- function(x, n = 10, ...) {
  cat(
    "KELPRA ", x$versions$program, ": subsets of ", ncol(x$data$B), " traits ranked by ",
    x$criterion, " (", x$settings$measure, ")\n\nBest of each size:\n", sep = ""
  )
  print(x$best, row.names = FALSE, right = FALSE, digits = 4)
  cat("\nBest of all:\n")
  print(utils::head(x$subsets, n), row.names = FALSE, right = FALSE, digits = 4)
  cat("\nA search, not a test: the best of many is high by chance alone.\nReport: ", x$report, "\n",
      sep = "")
  invisible(x)
}

as.data.frame.kelpra_rank <- function(
  x, row.names = NULL, optional = FALSE, what = c("subsets", "best"), ...
) {
  table <- x[[one_of(what, c("subsets", "best"), "what")]]
  if (!is.null(row.names)) rownames(table) <- row.names
  table
}

plot.kelpra_rank <- function(x, labels = TRUE, ...) {
  old <- graphics::par(mar = c(4.5, 4.5, 3, 1), las = 1)
  on.exit(graphics::par(old))
  limits <- range(x$subsets$value, x$best$value, na.rm = TRUE)
  graphics::plot(
    range(x$sizes) + c(-0.5, 0.5), limits + c(0, 0.12) * diff(limits), type = "n", xaxt = "n",
    xlab = "number of traits in the subset",
    ylab = paste0("criterion ", x$criterion, " (", x$settings$measure, ")"),
    main = "Trait subsets: the best of each size"
  )
  graphics::axis(1, x$sizes)
  graphics::points(x$subsets$size, x$subsets$value, col = "grey65", cex = 0.7)
  graphics::points(x$best$size, x$best$value, type = "b", pch = 19, lwd = 2, col = okabe_ito(1))
  if (labels) {
    graphics::text(
      x$best$size, x$best$value + 0.025 * diff(limits),
      gsub(" + ", "\n", x$best$traits, fixed = TRUE), adj = c(0.5, 0), cex = 0.6, xpd = NA
    )
  }
  invisible(x)
}
