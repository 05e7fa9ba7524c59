# SPDX-License-Identifier: GPL-3.0-or-later
# The statistics of a report as a data frame: name, meaning, value, P, lower, upper, tails; for
# regression and analysis of variance also response and term.
#
# read_statistics(lines, s)     all statistics that the analysis computed
# p_interval(p, iterations)     the Monte Carlo uncertainty of P
#
# P counts the observed arrangement as one of the iterations; the interval is that of the rate among
# the others (Clopper & Pearson 1934, Biometrika 26:404), the range in which P would settle.

meanings <- c(
  "r(TE)" = "trait convergence (TCAP): community means of traits follow the variables",
  "r(XE)" = "convergence and divergence together: trait-weighted composition follows them",
  "r(XE.T)" = "trait divergence (TDAP): what follows the variables beyond the means",
  "r(RE)" = "functional diversity within communities follows the variables",
  "r(XE.TR)" = "divergence between communities: means and diversity taken out",
  "r(TY)" = "community means agree with the composition that joint occurrence predicts",
  "r(XY)" = "weighted composition agrees with the composition that joint occurrence predicts",
  "r(XY_T)" = "the same with the means taken out",
  "r(TZ)" = "community means agree with the composition by products of performances",
  "r(XZ)" = "weighted composition agrees with the composition by products of performances",
  "r(XZ_T)" = "the same with the means taken out",
  "ro(BF)" = "phylogenetic signal: related OTUs have similar traits",
  "ro(PE)" = "phylogenetic composition follows the variables (PSAP)",
  "ro(PT)" = "phylogenetic signal in the community means",
  "ro(PX)" = "phylogenetic signal in the weighted composition",
  "ro(PX.T)" = "phylogenetic signal in the weighted composition beyond the means",
  "ro(TE.P)" = "convergence with phylogeny taken out",
  "ro(XE.P)" = "convergence and divergence with phylogeny taken out",
  "ro(XE.TP)" = "divergence with phylogeny taken out",
  "ro(PE.T)" = "phylogeny and the variables beyond the means",
  "ro(PE.X)" = "phylogeny and the variables beyond the weighted composition",
  "r(FE)" = "phylogenetic diversity within communities follows the variables"
)

# The site shuffle moves no OTU, and T, X and P all in the same order: what these have to do with
# each other is never shuffled, and the P that the program prints is 1 over the iterations, or 1.
no_site_test <- c("ro(BF)", "ro(PT)", "ro(PX)", "ro(PX.T)")

read_statistics <- function(lines, s) {
  found <- switch(
    s$measure, regression = regression_lines(lines), anova = anova_lines(lines),
    correlation_lines(lines)
  )
  if (!s$tests) found <- found[found$name == "r(TE)", ]
  found$tails <- tails_of(found, s)
  if (s$null == "sites") found$P[found$name %in% no_site_test] <- NA
  interval <- p_interval(found$P, s$iterations)
  found <- cbind(
    found[c("name", "meaning", "value", "P")], interval, tails = found$tails,
    found[intersect(c("response", "term"), names(found))]
  )
  rownames(found) <- NULL
  found
}

number_after <- function(lines, mark) {
  pattern <- paste0(".*", mark, "[ \t]*([-+.0-9a-z]+).*")
  value <- rep(NA_real_, length(lines))
  has <- grepl(pattern, lines, perl = TRUE)
  value[has] <- suppressWarnings(as.numeric(sub(pattern, "\\1", lines[has], perl = TRUE)))
  value
}

correlation_lines <- function(lines) {
  at <- grep("(r|ro)\\([A-Z]+[._]?[A-Z]*\\) ?=", lines, value = TRUE)
  at <- at[!duplicated(at)]
  name <- sub(".*\\b(ro?\\([A-Z]+[._]?[A-Z]*\\)) ?=.*", "\\1", at)
  data.frame(
    name = name, meaning = unname(meanings[name]), value = number_after(at, "\\) ?="),
    P = number_after(at, "\tP=")
  )
}

# The lines of a response stand below it.
below <- function(lines, start) {
  at <- grepl(start, lines)
  c(NA, which(at))[cumsum(at) + 1]
}

regression_lines <- function(lines) {
  lines <- section_of(lines, "^REGRESSION MODELS")
  head <- lines[below(lines, "r-square=")]
  response <- trimws(sub("^Trait:", "", sub("[ \t]*r-square=.*", "", head)))
  response <- sub(":$", "", sub("Phylogenentic", "Phylogenetic", response))
  term <- sub("^Factor:\t([^\t]*)\t.*", "\\1", lines)
  term[grepl("r-square=", lines)] <- "r-square"
  term[grepl("^Intercept=", lines)] <- "intercept"
  kept <- grepl("r-square=|coeff=|^Intercept=", lines)
  value <- number_after(lines, "(?:r-square|coeff|Intercept)=")
  name <- ifelse(term == "r-square", paste("r-square of", response), paste(term, "on", response))
  meaning <- rep("regression coefficient", length(lines))
  meaning[term == "r-square"] <- "share of the variation that the variables explain"
  meaning[term == "intercept"] <- "intercept"
  data.frame(name, meaning, value, P = number_after(lines, "p-value="), response, term)[kept, ]
}

anova_lines <- function(lines) {
  lines <- section_of(lines, "^ANALYSIS OF VARIANCE")
  head <- lines[below(lines, "^M?ANOVA ")]
  kept <- grepl("Pseudo-F=", lines)
  label <- sub("^(Factor|Trait):\t([^\t]*)\t.*", "\\2", lines)
  factor <- lines[below(lines, "^Factor:.*Pseudo-F=")]
  factor <- sub("^Factor:\t([^\t]*)\t.*", "\\1", factor)
  subjects <- c(T = "matrix T", X = "matrix X", P = "matrix P", Rp = "phylogenetic diversity")
  block <- rep("Rf", length(lines))
  for (name in names(subjects)) block[grepl(subjects[[name]], head)] <- name
  response <- ifelse(grepl("^Trait:", lines), label, block)
  data.frame(
    name = paste("F of", factor, "on", response),
    meaning = "pseudo-F: sum of squares between groups over within",
    value = number_after(lines, "Pseudo-F="), P = number_after(lines, "p-value="), response,
    term = factor
  )[kept, ]
}

section_of <- function(lines, start) {
  from <- grep(start, lines)[1]
  if (is.na(from)) return(character(0))
  to <- grep("^Number of iterations for permutation tests", lines)[1]
  lines[from:to]
}

# Partial correlations and regression coefficients are tested in both directions in any case;
# squared and between-over-within measures have one direction only.
tails_of <- function(found, s) {
  own <- if (s$two_tailed) 2L else 1L
  switch(s$measure,
    mantel = ifelse(grepl("[._]", found$name), 2L, own),
    regression = ifelse(found$term == "r-square", 1L, 2L),
    anova = ifelse(found$response == "Rf", own, 1L),
    rep(1L, nrow(found))
  )
}

p_interval <- function(p, iterations, level = 0.95) {
  others <- iterations - 1
  reached <- round(p * iterations) - 1
  tail <- (1 - level) / 2
  if (others < 1) return(data.frame(lower = p * NA, upper = p * NA))
  data.frame(
    lower = ifelse(reached > 0, stats::qbeta(tail, reached, others - reached + 1), 0 * p),
    upper = ifelse(
      reached < others, stats::qbeta(1 - tail, reached + 1, others - reached), 0 * p + 1
    )
  )
}
