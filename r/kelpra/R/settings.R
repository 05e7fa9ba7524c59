# SPDX-License-Identifier: GPL-3.0-or-later
# Settings of a run: named arguments with the program's defaults, checked before anything starts.
#
# default_settings(...)     the arguments of kelpra() that are settings: defaults, or those given
# check_settings(s, x)      s: such a list; gives them back in one shape, or stops
# preference_answers(s)     answers to the preferences dialogue; none where all are defaults
# flag, whole, number       checks of one argument
# chosen(x, names, what)    a choice among names (names, numbers, logical or NULL for all) as 0/1
#
# measure_codes, distance_codes: what the program's menus call them.

measure_codes <- c(mantel = 1, procrustes = 2, rv = 3, regression = 4, anova = 5)
distance_codes <- c(euclidean = 6, chord = 10)

run_arguments <- c("x", "folder", "progress", "patience", "timeout")

default_settings <- function(...) {
  given <- list(...)
  defaults <- formals(kelpra)
  s <- lapply(defaults[setdiff(names(defaults), run_arguments)], eval)
  s[names(given)] <- given
  s
}

check_settings <- function(s, x) {
  s$measure <- one_of(s$measure, names(measure_codes), "measure")
  s$null <- one_of(s$null, c("taxa", "sites"), "null")
  s$distance <- one_of(s$distance, names(distance_codes), "distance")
  for (name in names(s)[vapply(default_settings()[names(s)], is.logical, NA)]) {
    s[[name]] <- flag(s[[name]], name)
  }
  s$iterations <- whole(s$iterations, "iterations", 1, 2147483647)
  s$seed <- whole(s$seed, "seed", 0, 4294967295)
  s$digits <- whole(s$digits, "digits", 1, 17)
  s$processors <- whole(s$processors, "processors", 0, 2147483647)
  s$axes_factor <- number(s$axes_factor, "axes_factor", 1, 1e6)
  s$session <- session_name(s$session)
  s$traits <- chosen(s$traits, colnames(x$B), "traits")
  s$variables <- chosen(s$variables, colnames(x$E), "variables")
  s$otus <- chosen(s$otus, rownames(x$B), "otus")
  s["within"] <- list(nesting(s$within, rownames(x$B)))
  s$weight_groups <- !is.null(x$trait_groups) && (
    is.null(s$weight_groups) || flag(s$weight_groups, "weight_groups")
  )
  check_together(s, x)
  s
}

# What settings allow of each other and of the data; the program would ask again without a word.
check_together <- function(s, x) {
  nominal <- any(x$env_types == 2)
  quantitative <- any(x$env_types == 3)
  alternative <- "measure = \"mantel\" works with every kind of variable."
  rules <- list(
    list(s$measure %in% c("procrustes", "rv", "regression") && nominal,
         "measure ", quoted(s$measure), " cannot be used with a nominal variable in env (",
         listed(quoted(colnames(x$E)[x$env_types == 2])), "). ", alternative),
    list(s$measure == "anova" && quantitative,
         "measure 'anova' takes each variable as groups and cannot be used with quantitative ones ",
         "(",
         listed(quoted(colnames(x$E)[x$env_types == 3])), "). ", alternative),
    list(
      s$measure %in% c("regression", "anova") && is.null(x$E), "measure ", quoted(s$measure),
      " needs env."
    ),
    list(
      s$measure %in% c("regression", "anova") && !s$tests, "measure ", quoted(s$measure),
      " is offered with tests only."
    ),
    list(s$measure == "anova" && !all(s$variables == 1),
         "measure 'anova' needs all variables of env: make the data with those wanted."),
    list(
      !is.null(s$within) && s$null == "sites",
      "within restricts the shuffle of taxa and has no effect on sites."
    ),
    list(sum(s$traits) == 0, "No trait is chosen."),
    list(!is.null(x$E) && sum(s$variables) == 0, "No variable is chosen."),
    list(sum(s$otus) < 2, "Fewer than two OTUs are chosen.")
  )
  for (rule in rules) if (rule[[1]]) do.call(stop_kelpra, rule[-1])
}

flag <- function(x, what) {
  if (is.logical(x) && length(x) == 1 && !is.na(x)) return(x)
  stop_kelpra(what, " must be TRUE or FALSE.")
}

number <- function(x, what, low, high) {
  if (is.numeric(x) && length(x) == 1 && is.finite(x) && x >= low && x <= high) return(x)
  stop_kelpra(what, " must be a number from ", low, " to ", format(high, digits = 15), ".")
}

whole <- function(x, what, low, high) {
  if (is.numeric(x) && length(x) == 1 && is.finite(x) && x == round(x) && x >= low && x <= high) {
    return(x)
  }
  stop_kelpra(what, " must be a whole number from ", low, " to ", format(high, digits = 15), ".")
}

session_name <- function(x) {
  if (is.character(x) && length(x) == 1 && grepl("^[A-Za-z0-9_.-]{1,40}$", x)) return(x)
  stop_kelpra(
    "session must be one word of at most 40 letters, digits, dots, hyphens and underscores."
  )
}

chosen <- function(x, names, what) {
  if (is.null(x)) return(rep(1L, length(names)))
  if (is.logical(x) && length(x) == length(names) && !anyNA(x)) return(as.integer(x))
  if (is.numeric(x)) {
    bad <- setdiff(abs(x), seq_along(names))
    if (length(bad)) {
      stop_kelpra(what, ": there is no number ", listed(bad), " (1 to ", length(names), ").")
    }
    x <- names[x]
  }
  if (!is.character(x)) {
    stop_kelpra(
      what, " must be names, numbers, or TRUE or FALSE for each of the ", length(names), "."
    )
  }
  absent <- setdiff(x, names)
  if (length(absent)) {
    strangers(absent, names, what, "in the data", "Choose among the names of the data.")
  }
  as.integer(names %in% x)
}

nesting <- function(within, otus) {
  if (is.null(within)) return(NULL)
  if (is.null(names(within))) {
    if (length(within) != length(otus)) {
      stop_kelpra("within has ", length(within), " entries for ", length(otus), " OTUs.")
    }
    names(within) <- otus
  }
  absent <- setdiff(otus, names(within))
  if (length(absent)) {
    strangers(absent, names(within), "OTUs", "in within", "Each OTU needs a group.")
  }
  within <- factor(within[otus])
  if (anyNA(within)) {
    stop_kelpra("within: no group is given for ", listed(quoted(otus[is.na(within)])), ".")
  }
  stats::setNames(as.integer(within), otus)
}

yn <- function(x) if (x) "y" else "n"

preference_answers <- function(s) {
  answers <- c(
    if (s$digits != 6 || s$intermediate) c("F", plain_number(s$digits), yn(s$intermediate)),
    if (!s$joint_absences) c("G", "n"),
    if (!s$sqrt_traits || s$sqrt_phylo) c("R", yn(s$sqrt_traits), yn(s$sqrt_phylo)),
    if (!s$beals_target) c("B", "n"),
    if (s$axes_factor != 2) c("O", plain_number(s$axes_factor)),
    if (!s$two_tailed) c("T", "n"),
    if (s$processors != 0) c("M", plain_number(s$processors))
  )
  if (length(answers)) c("S", answers, "C")
}

plain_number <- function(x) format(x, digits = 15, scientific = FALSE, trim = TRUE)
