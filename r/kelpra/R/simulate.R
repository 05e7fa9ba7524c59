# SPDX-License-Identifier: GPL-3.0-or-later
# The simulator of community assembly, class "kelpra_simulation":
#
#   traits      OTUs by traits; comm: sites by OTUs, abundances; env: sites by predictors
#               (variables, then their interactions), all at the end of the simulation, with names
#   statistics  of the test of these communities: as in class "kelpra", but for P without tests
#   model, seed, versions, checksums, folder, report, call
#
# model_of(arguments)                     arguments of kelpra_simulate() checked, with defaults
# write_model(m, folder)                  the matrices that the simulator reads
# simulation_answers(m, seed, evaluation) the dialogue, from the main menu to the exit
#
# The simulator's own form is a row for each factor; here sites and OTUs are rows.

logistic_arguments <- c("dispersal", "survival", "density", "age")

kelpra_simulate <- function(responses, effects = NULL, sites = 30, otus = 20, trait_data = NULL,
                            trait_cor = NULL, otu_cor = NULL, site_xy = NULL, env_data = NULL,
                            env_cor = NULL, interactions = FALSE,
                            dispersal = list(center = c(0.3, 0.7), slope = c(-6, -2)),
                            survival = list(center = c(0.3, 0.7), slope = c(-6, -2)),
                            density = list(center = c(0.3, 0.7), slope = c(-6, -2)),
                            age = list(center = c(0.3, 0.7), slope = c(-6, -2)),
                            lifespan = c(3, 12), individuals = 20, years = 20, per_year = 12,
                            threshold = 0.5,
                            measure = c("mantel", "procrustes", "rv", "regression", "anova"),
                            null = c("taxa", "sites"), iterations = 0, seed = 1, fuzzy = TRUE,
                            within = NULL, distance = c("euclidean", "chord"),
                            tested_traits = NULL, tested_predictors = NULL, tested_otus = NULL,
                            otus_within = FALSE, otus_rescale = FALSE, unit_totals = TRUE,
                            two_tailed = TRUE, joint_absences = TRUE, sqrt_traits = TRUE,
                            beals_target = TRUE, axes_factor = 2, digits = 6, processors = 0,
                            steps = FALSE, folder = NULL, progress = interactive(), patience = 60,
                            timeout = Inf) {
  given <- setdiff(names(formals()), run_arguments)
  if (missing(responses)) responses <- NULL
  m <- model_of(mget(given))
  program <- kelpra_program()
  folder <- own_folder(folder)
  write_model(m, folder)
  checksums <- checksums_of(folder)
  end <- if (m$settings$tests) "n"
  run_program(
    folder, simulation_answers(m, m$settings$seed, c(end, yn(flag(steps, "steps")))), program,
    "Simulation", progress, patience, timeout, set_step
  )
  report <- file.path(folder, "FinalSimulatedData.txt")
  if (!file.exists(report)) {
    stop_kelpra("The program ended without a report; see ", folder, ".", class = "kelpra_failure")
  }
  structure(
    c(read_simulated(m, folder), list(
      statistics = simulated_statistics(any_bytes(report), m), model = m, seed = m$settings$seed,
      versions = simulation_versions(folder, program), checksums = checksums, folder = folder,
      report = report, call = match.call()
    )),
    class = "kelpra_simulation"
  )
}

simulation_versions <- function(folder, program) {
  versions(report_head(any_bytes(file.path(folder, "screen.txt"))), program)
}

# "Iteration: sets set Abundance: n": how far the data sets are.
set_step <- function(screen) {
  found <- regmatches(screen, gregexpr("Iteration: [0-9]+ [0-9]+ Abund", screen, useBytes = TRUE))
  if (!length(found[[1]])) return(NULL)
  step <- as.numeric(strsplit(utils::tail(found[[1]], 1), " ")[[1]][3:2])
  if (step[2] > 1) step
}

# --- the model -----------------------------------------------------------------------------------

model_of <- function(arguments) {
  a <- defaults_of(kelpra_simulate, arguments)
  if (is.null(a$responses)) {
    stop_kelpra("responses is missing: a matrix of traits by predictors.")
  }
  m <- list(interactions = flag(a$interactions, "interactions"))
  m$responses <- numbers(a$responses, "responses")
  m$traits <- labels_of(rownames(m$responses), nrow(m$responses), "trait")
  m$sites <- whole(if (is.null(a$env_data)) a$sites else NROW(a$env_data), "sites", 2, 1e6)
  m$otus <- whole(if (is.null(a$trait_data)) a$otus else NROW(a$trait_data), "otus", 2, 1e6)
  m <- c(m, model_env(a, m), model_traits(a, m))
  if (!is.null(a$site_xy)) m$site_xy <- numbers(a$site_xy, "site_xy", m$sites, 2)
  for (name in logistic_arguments) m[[name]] <- logistic(a[[name]], name, m$otus)
  m$lifespan <- lifespans(a$lifespan, m$otus)
  for (name in c("individuals", "years", "per_year")) m[[name]] <- whole(a[[name]], name, 1, 1e9)
  m$threshold <- number(a$threshold, "threshold", 0, 1)
  m$predictors <- predictor_names(m)
  m$settings <- simulation_settings(a, m)
  m
}

# Arguments of a function: those given, the rest by default.
defaults_of <- function(f, given) {
  unknown <- setdiff(names(given), names(formals(f)))
  if (length(unknown) || is.null(names(given)) && length(given)) {
    stop_kelpra(
      "There is no argument ", quoted(unknown[1]), "; the model is described by those of ",
      "kelpra_simulate()."
    )
  }
  defaults <- formals(f)
  defaults <- defaults[!vapply(defaults, function(d) is.symbol(d) && !nzchar(d), NA)]
  a <- lapply(defaults[setdiff(names(defaults), run_arguments)], eval)
  a[names(given)] <- given
  a
}

model_env <- function(a, m) {
  q <- ncol(m$responses)
  known <- if (!is.null(a$env_data)) NCOL(a$env_data) else if (!is.null(a$env_cor)) NROW(a$env_cor)
  f <- if (!is.null(known)) known else if (m$interactions) (sqrt(1 + 8 * q) - 1) / 2 else q
  if (f != round(f)) {
    stop_kelpra(
      "responses has ", q, " columns; variables with their interactions are 1, 3, 6, 10 ..."
    )
  }
  expected <- if (m$interactions) f + f * (f - 1) / 2 else f
  if (q != expected) {
    stop_kelpra(
      "responses has ", q, " columns; ", f, " variables", if (m$interactions) " with interactions",
      " want ", expected, "."
    )
  }
  env <- list(factors = f, effects = matrix(0, f, nrow(m$responses)))
  if (!is.null(a$effects)) env$effects <- numbers(a$effects, "effects", f, nrow(m$responses))
  if (is.null(a$env_data)) {
    env$env_cor <- if (is.null(a$env_cor)) diag(f) else correlation(a$env_cor, "env_cor", f)
  } else {
    env$env_data <- numbers(a$env_data, "env_data", m$sites, f)
  }
  env
}

model_traits <- function(a, m) {
  k <- nrow(m$responses)
  if (!is.null(a$trait_data)) {
    if (!is.null(a$trait_cor) || !is.null(a$otu_cor)) {
      stop_kelpra("trait_data and correlations exclude each other.")
    }
    return(list(trait_data = numbers(a$trait_data, "trait_data", m$otus, k)))
  }
  list(
    trait_cor = if (is.null(a$trait_cor)) diag(k) else correlation(a$trait_cor, "trait_cor", k),
    otu_cor = if (!is.null(a$otu_cor)) correlation(a$otu_cor, "otu_cor", m$otus)
  )
}

numbers <- function(x, what, rows = NROW(x), columns = NCOL(x)) {
  M <- as.matrix(x)
  if (!is.numeric(M) || !all(is.finite(M))) stop_kelpra(what, " must be a matrix of numbers.")
  if (nrow(M) != rows || ncol(M) != columns) {
    stop_kelpra(
      what, " is ", nrow(M), " by ", ncol(M), "; ", rows, " by ", columns, " is wanted."
    )
  }
  M
}

correlation <- function(x, what, n) {
  M <- unname(numbers(x, what, n, n))
  if (!isSymmetric(M) || any(diag(M) != 1)) stop_kelpra(what, " is no correlation matrix.")
  if (inherits(try(chol(M), silent = TRUE), "try-error")) {
    stop_kelpra(what, " is not positive definite: no data have these correlations.")
  }
  M
}

# A matrix of center and slope for each OTU, or limits between which the program draws them.
logistic <- function(x, what, otus) {
  if (is.matrix(x) || is.data.frame(x)) return(numbers(x, what, otus, 2))
  limits <- is.list(x) && setequal(names(x), c("center", "slope")) && all(lengths(x) == 2) &&
    is.numeric(unlist(x)) && all(is.finite(unlist(x)))
  if (!limits) {
    stop_kelpra(
      what, " must be a matrix of center and slope for each OTU, or ",
      "list(center = c(low, high), slope = c(low, high))."
    )
  }
  x <- lapply(x[c("center", "slope")], sort)
  number(x$center[1], paste(what, "center"), 0, 1)
  number(x$center[2], paste(what, "center"), 0, 1)
  number(x$slope[2], paste(what, "slope"), -1e6, -0.01)
  x
}

# Two numbers are limits, as many as OTUs are years of each.
lifespans <- function(x, otus) {
  for (years in x) whole(years, "lifespan", 0, 1e9)
  if (length(x) == 2) return(list(limits = sort(x)))
  if (length(x) != otus) stop_kelpra("lifespan must be two limits, or years of each OTU.")
  list(years = x)
}

labels_of <- function(names, n, word) if (is.null(names)) paste(word, seq_len(n)) else names

predictor_names <- function(m) {
  single <- if (is.null(m$env_data)) colnames(m$responses) else colnames(m$env_data)
  single <- labels_of(single, m$factors, "variable")[seq_len(m$factors)]
  if (!m$interactions || m$factors < 2) return(single)
  c(single, apply(utils::combn(single, 2), 2, paste, collapse = " x "))
}

# The settings of the analysis are checked as those of kelpra(), on data of the same shape.
simulation_settings <- function(a, m) {
  shape <- function(rows, columns, count) {
    matrix(0, count, length(columns), dimnames = list(rows, columns))
  }
  otus <- labels_of(rownames(m$trait_data), m$otus, "OTU")
  x <- list(
    B = shape(otus, m$traits, m$otus), E = shape(NULL, m$predictors, m$sites),
    env_types = rep(if ("anova" %in% a$measure[1]) 1L else 3L, length(m$predictors))
  )
  given <- a[intersect(names(a), names(default_settings()))]
  tests <- whole(a$iterations, "iterations", 0, 2147483647) > 0
  given$iterations <- max(1, a$iterations)
  s <- do.call(default_settings, given)
  s[c("traits", "otus", "tests")] <- list(a$tested_traits, a$tested_otus, tests)
  s <- check_settings(s, x)
  s$variables <- chosen(a$tested_predictors, m$predictors, "tested_predictors")
  if (!any(s$variables == 1)) stop_kelpra("No predictor is chosen.")
  s
}

# --- its files and answers -----------------------------------------------------------------------

write_model <- function(m, folder) {
  file <- function(name) file.path(folder, paste0(name, ".txt"))
  turned <- list(env_data = TRUE, site_xy = TRUE)
  matrices <- c(
    "responses", "effects", "trait_data", "trait_cor", "otu_cor", "site_xy", "env_data", "env_cor",
    logistic_arguments
  )
  for (name in matrices) if (is.matrix(m[[name]])) {
    write_matrix(if (isTRUE(turned[[name]])) t(m[[name]]) else m[[name]], NULL, file(name))
  }
  if (!is.null(m$lifespan$years)) write_lines(m$lifespan$years, file("lifespan"))
  if (!is.null(m$settings$within)) write_lines(m$settings$within, file("nesting"))
}

simulation_answers <- function(m, seed, evaluation) {
  s <- m$settings
  s$seed <- seed
  c(
    preference_answers(s), "A", m$sites, m$otus, length(m$traits), trait_answers(m),
    logistic_answers(m, "dispersal"), if (is.null(m$site_xy)) "r" else c("c", "site_xy.txt"),
    m$factors,
    if (is.null(m$env_data)) c("c", "env_cor.txt", "n") else c("e", "env_data.txt"),
    yn(m$interactions), "responses.txt", "effects.txt", logistic_answers(m, "survival"),
    logistic_answers(m, "density"),
    if (is.null(m$lifespan$years)) c("r", m$lifespan$limits) else c("d", "lifespan.txt"),
    logistic_answers(m, "age"), plain_number(c(m$individuals, m$years, m$per_year)),
    plain_number(m$threshold), if (s$fuzzy) "1" else "0", tested_answers(s), evaluation, "X"
  )
}

trait_answers <- function(m) {
  if (!is.null(m$trait_data)) return(c("t", "trait_data.txt"))
  if (is.null(m$otu_cor)) return(c("c", "trait_cor.txt", "n"))
  c("b", "trait_cor.txt", "otu_cor.txt", "n")
}

logistic_answers <- function(m, name) {
  if (is.matrix(m[[name]])) return(c("d", paste0(name, ".txt")))
  c("r", vapply(unlist(m[[name]]), plain_number, "", USE.NAMES = FALSE))
}

# The seed is asked with and without tests.
tested_answers <- function(s) {
  c(
    yn(s$tests), if (s$tests) c(plain_number(s$iterations), null_answers(s)), "2",
    plain_number(s$seed), measure_codes[[s$measure]],
    if (s$measure %in% c("mantel", "anova")) distance_codes[[s$distance]],
    choice_answers(s$traits), choice_answers(s$otus),
    if (any(s$otus == 0)) c(yn(s$otus_within), yn(s$otus_rescale)), yn(s$unit_totals),
    yn(s$details), choice_answers(s$variables)
  )
}

# --- its results ---------------------------------------------------------------------------------

read_simulated <- function(m, folder) {
  table <- function(name, rows) {
    lines <- any_bytes(file.path(folder, paste0(name, "_Simulated.txt")))[seq_len(rows)]
    do.call(rbind, lapply(strsplit(trimws(lines), "[ \t]+"), as.numeric))
  }
  otus <- labels_of(rownames(m$trait_data), m$otus, "OTU")
  sites <- labels_of(rownames(m$env_data), m$sites, "site")
  list(
    traits = structure(table("B", m$otus), dimnames = list(otus, m$traits)),
    comm = structure(table("W", m$sites), dimnames = list(sites, otus)),
    env = structure(
      t(table("E", length(m$predictors))), dimnames = list(sites, m$predictors)
    )
  )
}

# The report of a set ends with its statistics, in the words of the functional analysis.
simulated_statistics <- function(lines, m) {
  lines <- lines[grep("^Statistics and probabilities", lines)[1]:length(lines)]
  if (!m$settings$tests) return(correlation_lines(lines)[c("name", "meaning", "value")])
  read_statistics(c(lines, "Number of iterations for permutation tests"), m$settings)
}

print.kelpra_simulation <- function(x, digits = 3, ...) {
  m <- x$model
  cat(
    "KELPRA ", x$versions$program, ": simulated ", m$sites, " sites, ", m$otus, " OTUs, ",
    length(m$traits), " traits, ", length(m$predictors), " predictors; ", m$years,
    " years, seed ", plain_number(x$seed), "\n", sum(x$comm), " individuals, ",
    sum(rowSums(x$comm) == 0), " sites empty, ", sum(colSums(x$comm) == 0), " OTUs extinct\n\n",
    sep = ""
  )
  table <- x$statistics
  if (m$settings$tests) table <- printed_statistics(table, digits) else table$meaning <- NULL
  print(table, row.names = FALSE, right = FALSE, digits = digits)
  cat("\nReport: ", x$report, "\n", sep = "")
  invisible(x)
}
