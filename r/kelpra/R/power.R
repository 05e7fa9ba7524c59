# SPDX-License-Identifier: GPL-3.0-or-later
# Power and type I error over many simulated data sets, class "kelpra_power":
#
#   rates     data frame: name, rejected, sets, rate, lower, upper (Wilson), null (taxa, sites, both),
#             and for regression and analysis of variance response and term
#   alpha, level (the rate that alpha allows with so many iterations)
#   batches   seed, sets, seconds
#   model, versions, folder, call
#
# The sets are split into batches of one size with a seed each, whoever computes them: the result is
# the same on one worker and on many, of which each takes one processor. A batch that is done leaves
# its counts in the folder, and a later run of the same model takes them from there.

kelpra_power <- function(responses, ..., null = c("taxa", "sites", "both"), sets = 400,
                         alpha = 0.05, iterations = 199, seed = 1, batch = 25, folder = NULL,
                         scheduling = 1, progress = interactive(), patience = 60, timeout = Inf) {
  if (missing(responses)) responses <- NULL
  null <- one_of(null, c("taxa", "sites", "both"), "null")
  given <- list(responses = responses, ..., iterations = iterations, seed = seed)
  models <- models_of(given, if (null == "both") c("taxa", "sites") else null)
  m <- models[[1]]
  if (!m$settings$tests) stop_kelpra("iterations must be 1 at least: power is that of a test.")
  sets <- whole(sets, "sets", 1, 1e9)
  alpha <- number(alpha, "alpha", 0, 1)
  batch <- if (keep_in_step(models)) whole(batch, "batch", 1, 1e9) else 1
  batches <- batches_of(sets, batch, m$settings$seed)
  program <- kelpra_program()
  folder <- study_folder(folder, list(models = models, alpha = alpha))
  if (future::nbrOfWorkers() > 1) models <- lapply(models, on_one_processor)
  done <- future.apply::future_lapply(
    seq_len(nrow(batches)), run_batch, batches, models, alpha, folder, program, progress, patience,
    timeout, future.scheduling = scheduling, future.seed = NULL
  )
  batches$seconds <- vapply(done, `[[`, 0, "seconds")
  structure(
    list(
      rates = pooled(lapply(done, `[[`, "rates"), batches$sets), alpha = alpha,
      level = floor(alpha * iterations + 1e-9) / iterations, batches = batches, model = m,
      versions = done[[1]]$versions, folder = folder, call = match.call()
    ),
    class = "kelpra_power"
  )
}

# A model for each null model; groups within which OTUs move are of the taxa shuffle.
models_of <- function(given, nulls) {
  lapply(stats::setNames(nm = nulls), function(null) {
    given$null <- null
    if (null == "sites" && length(nulls) > 1) given["within"] <- list(NULL)
    m <- model_of(given)
    m$settings$details <- length(nulls) > 1
    m
  })
}

on_one_processor <- function(m) {
  if (m$settings$processors == 0) m$settings$processors <- 1
  m
}

# The tests draw from the generator that makes the data. Both null models meet the same sets in one
# run if their lists are equally long; otherwise each set has a seed and a run of its own.
keep_in_step <- function(models) length(models) == 1 || models$taxa$sites == models$taxa$otus

# Seeds of neighbouring studies share no batch: they step by 2^32 over the golden ratio.
batches_of <- function(sets, size, seed) {
  n <- ceiling(sets / size)
  data.frame(
    seed = (seed + (seq_len(n) - 1) * 2654435761) %% 4294967296,
    sets = c(rep(size, n - 1), sets - (n - 1) * size)
  )
}

# A folder goes with one model; further sets of it may be added.
study_folder <- function(folder, study) {
  if (is.null(folder)) folder <- tempfile("kelpra-power-")
  mark <- file.path(folder, "study.rds")
  if (file.exists(mark)) {
    if (!identical(readRDS(mark), study)) {
      stop_kelpra(
        "The folder ", quoted(folder), " holds another study: another model, alpha or seed."
      )
    }
    return(normalizePath(folder))
  }
  folder <- own_folder(folder)
  save_whole(study, file.path(folder, "study.rds"))
  folder
}

# A file is there when it is complete.
save_whole <- function(object, path) {
  part <- paste0(path, ".part")
  saveRDS(object, part)
  file.rename(part, path)
}

run_batch <- function(i, batches, models, alpha, folder, program, progress, patience, timeout) {
  batch <- batches[i, ]
  own <- file.path(folder, sprintf("batch-%04d-of-%d", i, batch$sets))
  result <- paste0(own, ".rds")
  if (file.exists(result)) return(readRDS(result))
  unlink(own, recursive = TRUE)
  label <- paste("Batch", i, "of", nrow(batches))
  runs <- lapply(stats::setNames(nm = names(models)), function(null) {
    evaluate_sets(
      models[[null]], batch, alpha, own_folder(file.path(own, null)), program,
      paste0(label, if (length(models) > 1) paste0(", ", null)), progress, patience, timeout
    )
  })
  rates <- Map(function(run, null) cbind(run$rates, null = null), runs, names(runs))
  if (length(runs) > 1) rates$both <- larger_rates(runs, alpha)
  found <- list(
    rates = do.call(rbind, unname(rates)), seconds = sum(vapply(runs, `[[`, 0, "seconds")),
    versions = runs[[1]]$versions
  )
  save_whole(found, result)
  unlink(own, recursive = TRUE)
  found
}

evaluate_sets <- function(m, batch, alpha, own, program, label, progress, patience, timeout) {
  write_model(m, own)
  answers <- simulation_answers(
    m, batch$seed, c("y", plain_number(batch$sets), plain_number(alpha))
  )
  run <- run_program(own, answers, program, label, progress, patience, timeout, set_step)
  lines <- any_bytes(file.path(own, "FinalSimulatedData.txt"))
  list(
    rates = read_rates(lines, m), sets = if (m$settings$details) read_sets(lines),
    seconds = run$seconds, versions = simulation_versions(own, program)
  )
}

# --- the larger P of both null models, set by set ------------------------------------------------

# The report in detail: for each set its data, as text, and the P values in the order of the rates.
read_sets <- function(lines) {
  end <- grep("^FINAL RESULTS", lines)[1] - 1
  starts <- grep("^SIMULATED DATA [0-9]", lines)
  lapply(Map(seq, starts, c(starts[-1] - 1, end)), function(at) {
    set <- lines[at]
    results <- grep("^(Statistics and prob|REGRESSION MODELS|ANALYSIS OF VAR)", set)[1]
    P <- number_after(set[results:length(set)], "(?:P|p-value)=")
    list(data = set[seq_len(results - 1)], P = P[!is.na(P)])
  })
}

larger_rates <- function(runs, alpha) {
  taxa <- runs$taxa$sets
  sites <- runs$sites$sets
  larger <- Map(function(a, b) list(P = pmax(a$P, b$P)), taxa, sites)
  same <- identical(lapply(taxa, `[[`, "data"), lapply(sites, `[[`, "data"))
  told <- lapply(runs, function(run) round(run$rates$rate * length(taxa)))
  if (!same || !identical(lapply(runs, function(run) rejected(run$sets, alpha)), told)) {
    stop_kelpra("The two null models were not given the same data sets.", class = "kelpra_failure")
  }
  table <- runs$taxa$rates
  table$rate <- rejected(larger, alpha) / length(larger)
  cbind(table, null = "both")
}

# As the program counts: a P of alpha rejects. Reports print P with six digits.
rejected <- function(sets, alpha) {
  Reduce(`+`, lapply(sets, function(set) as.numeric(!is.na(set$P) & set$P <= alpha * (1 + 1e-5))))
}

# --- the rates of a report -----------------------------------------------------------------------

read_rates <- function(lines, m) {
  from <- grep("^PROBABILITIES OF Ho REJECTION", lines)
  if (!length(from)) {
    stop_kelpra("The simulation ended without rates of rejection.", class = "kelpra_failure")
  }
  lines <- lines[(from[1] + 1):length(lines)]
  at <- grepl("\tP=\t", lines)
  lines <- lines[at | grepl("^M?ANOVA ", lines)]
  rates <- if (m$settings$measure %in% c("regression", "anova")) {
    model_rates(lines, m)
  } else {
    data.frame(name = sub(".*\\b(r\\([A-Z]+[._]?[A-Z]*\\)).*", "\\1", lines))
  }
  kept <- grepl("\tP=\t", lines)
  rates$rate <- as.numeric(sub(".*\tP=\t", "", lines[kept]))
  rates
}

# What is explained stands in the line, in the nearest such line above, or is named by the heading
# of its analysis of variance; so does the predictor.
model_rates <- function(lines, m) {
  label <- sub("^[^\t]*\t([^\t]*)\t.*", "\\1", lines)
  last <- function(at, values) c(NA, values[at])[cumsum(at) + 1]
  is_trait <- grepl("^Trait:", lines)
  is_factor <- grepl("^Factor:", lines)
  heads <- grepl("^M?ANOVA using (matrix|Rao)", lines)
  diversity <- grepl("^Functional diversity", lines)
  trait <- ifelse(is_trait, m$traits[suppressWarnings(as.integer(label))], "Functional diversity")
  block <- last(heads, sub("^MANOVA using matrix ([TX]) .*", "\\1", sub("^ANOVA.*", "Rf", lines)))
  response <- ifelse(is_trait | is.na(block), last(is_trait | diversity, trait), block)
  term <- last(is_factor, m$predictors[match(label, predictor_labels(m))])
  term[grepl("r-square", lines)] <- "r-square"
  word <- if (m$settings$measure == "anova") "F of " else ""
  name <- paste0(ifelse(term == "r-square", "", word), term)
  name <- paste(name, ifelse(term == "r-square", "of", "on"), response)
  data.frame(name, response, term)[grepl("\tP=\t", lines), ]
}

# The program numbers predictors: 1, 2, 1x2.
predictor_labels <- function(m) {
  single <- as.character(seq_len(m$factors))
  if (!m$interactions || m$factors < 2) return(single)
  c(single, apply(utils::combn(single, 2), 2, paste, collapse = "x"))
}

pooled <- function(rates, sets) {
  rejected <- round(Reduce(`+`, Map(function(r, n) r$rate * n, rates, sets)))
  table <- rates[[1]]
  table$rate <- NULL
  rownames(table) <- NULL
  interval <- wilson(rejected, sum(sets))
  cbind(
    table["name"], rejected, sets = sum(sets), rate = rejected / sum(sets), interval,
    table[setdiff(names(table), "name")]
  )
}

# Wilson (1927), Journal of the American Statistical Association 22:209.
wilson <- function(k, n, level = 0.95) {
  z <- stats::qnorm(1 - (1 - level) / 2)
  p <- k / n
  center <- (p + z^2 / (2 * n)) / (1 + z^2 / n)
  half <- z / (1 + z^2 / n) * sqrt(p * (1 - p) / n + z^2 / (4 * n^2))
  data.frame(lower = pmax(0, center - half), upper = pmin(1, center + half))
}

# --- looking at it -------------------------------------------------------------------------------

print.kelpra_power <- function(x, digits = 3, ...) {
  m <- x$model
  cat(
    "KELPRA ", x$versions$program, ": rates of rejection in ", sum(x$batches$sets),
    " simulated data sets of ", m$sites, " sites and ", m$otus, " OTUs\n", m$settings$measure, ", ",
    if (is_both(x)) "taxa and site" else m$settings$null, " shuffle, ", m$settings$iterations, " iterations, alpha ", x$alpha,
    " (attainable: ", format(x$level, digits = digits), "), seed ", plain_number(m$settings$seed),
    "\n\n", sep = ""
  )
  columns <- c("name", if (is_both(x)) "null", "rejected", "rate", "lower", "upper")
  print(x$rates[columns], row.names = FALSE, right = FALSE, digits = digits)
  if (is_both(x)) cat("\nboth: the larger P of both null models.")
  cat("\nIntervals: Wilson, 95 %.\n")
  invisible(x)
}

as.data.frame.kelpra_power <- function(x, row.names = NULL, optional = FALSE, ...) {
  table <- x$rates
  if (!is.null(row.names)) rownames(table) <- row.names
  table
}

is_both <- function(x) "both" %in% x$rates$null

plot.kelpra_power <- function(x, ...) {
  table <- x$rates
  if (is_both(x)) table$name <- paste0(table$name, ", ", table$null)
  n <- nrow(table)
  cex <- row_size(n)
  old <- graphics::par(mai = c(0.9, label_room(table$name, cex), 0.7, 0.2), las = 1)
  on.exit(graphics::par(old))
  y <- rev(seq_len(n))
  graphics::plot(
    table$rate, y, xlim = 0:1, ylim = c(0.5, n + 0.5), pch = 19, col = okabe_ito(1), yaxt = "n",
    ylab = "", xlab = sprintf("rate of rejection with its 95 %% interval (dashed: %g)", x$alpha),
    main = paste("Rejections in", sum(x$batches$sets), "simulated data sets")
  )
  graphics::segments(table$lower, y, table$upper, y, col = okabe_ito(1), lwd = 2)
  graphics::abline(v = x$alpha, lty = 2)
  graphics::axis(2, y, table$name, cex.axis = cex, tick = FALSE)
  invisible(x)
}
