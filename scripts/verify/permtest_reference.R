# SPDX-License-Identifier: GPL-3.0-or-later
# The numbers in tests/reference/permtest_reference_test.cpp, from the raw matrices in examples/.
#
#   python3 seed_lists.py 1 30 19 > /tmp/lists30; python3 seed_lists.py 1 82 19 > /tmp/lists82
#   Rscript permtest_reference.R examples /tmp/lists30 /tmp/lists82
#
# Made with R 4.2, vegan 2.6-4, ade4 1.7-22, cluster 2.1.4. Nothing here comes from the program:
# community weighted means, belonging and Rao entropy are written out below, Gower's index is
# cluster::daisy, matrix correlations are vegan::mantel, the partial ones vegan::mantel.partial, RV
# is ade4::coinertia, Procrustes vegan::protest. Settings: composition and averages on unit totals,
# Euclidean distances, fuzzy types, square-rooted dissimilarities on traits and on phylogeny,
# double absences count, two-tailed.
suppressMessages({library(vegan); library(ade4); library(cluster)})

arguments <- commandArgs(TRUE)
numbers <- function(set, file, rows) {
  m <- as.matrix(read.table(file.path(arguments[1], set, file), nrows = rows))
  dimnames(m) <- NULL
  m
}

# Mean similarity to the members of each type, rows to unit sum.
belonging <- function(S, types) {
  diag(S) <- 1
  U <- sapply(sort(unique(types)), function(type) rowMeans(S[, types == type, drop = FALSE]))
  stopifnot(sum(S[upper.tri(S)] > 1 - 1e-7) == 0)  # no identical OTUs, which would be pooled
  U / rowSums(U)
}

rao <- function(W, d) apply(W, 1, function(p) sum(outer(p, p) * d))

statistics <- function(o, E) {
  T <- o$W %*% o$B
  T <- sweep(T, 2, sqrt(colSums(T^2)), "/")
  X <- o$W %*% o$U
  R <- rao(o$W, sqrt(pmax(1 - o$Sb, 0)))
  DE <- dist(scale(E)); DT <- dist(T); DX <- dist(X); DR <- dist(R)
  r <- function(a, b) mantel(a, b, permutations = 0)$statistic
  part <- function(a, b, c) mantel.partial(a, b, c, permutations = 0)$statistic
  first <- function(xy, xz, yz) (xy - xz * yz) / sqrt(1 - xz^2) / sqrt(1 - yz^2)
  out <- c(rTE = r(DE, DT), rXE = r(DE, DX), rXE_T = part(DX, DE, DT), rRE = r(DE, DR),
           rXE_TR = first(part(DX, DE, DR), part(DX, DT, DR), part(DT, DE, DR)))
  if (!is.null(o$d)) {
    P <- o$W %*% o$Q
    DP <- dist(P)
    F <- rao(o$W, sqrt(o$d))
    XT.P <- part(DX, DT, DP)
    out <- c(out, roPE = r(DE, DP), roPT = r(DT, DP), roPX = r(DX, DP), roPX_T = part(DP, DX, DT),
             roTE_P = part(DT, DE, DP), roXE_P = part(DX, DE, DP),
             roXE_TP = first(part(DX, DE, DP), XT.P, part(DT, DE, DP)),
             roPE_T = part(DP, DE, DT), roPE_X = part(DP, DE, DX),
             roBF = r(as.dist(o$SbFixed), as.dist(o$d)), rFE = r(DE, dist(F)))
  }
  # Procrustes and RV compare the matrices themselves; given T: residuals of the regressions.
  given <- function(Y, Z) residuals(lm(Y ~ Z))
  rv <- function(A, B) coinertia(dudi.pca(as.data.frame(A), scale = FALSE, scannf = FALSE, nf = 1),
                                 dudi.pca(as.data.frame(B), scale = FALSE, scannf = FALSE, nf = 1),
                                 scannf = FALSE, nf = 1)$RV
  pro <- function(A, B) protest(A, B, permutations = 0)$t0
  coefficients <- function(f) {
    v <- c(rTE = f(T, E), rXE = f(X, E), rRE = f(cbind(R), E),
           rXE_T = f(given(X, T), given(E, T)),
           rXE_TR = f(given(X, cbind(T, R)), given(E, cbind(T, R))))
    if (!is.null(o$d))
      v <- c(v, roPE = f(E, P), roPT = f(T, P), roPX = f(X, P), roPX_T = f(given(P, T), given(X, T)))
    v
  }
  attr(out, "rv") <- coefficients
  attr(out, "rvf") <- rv; attr(out, "prof") <- pro
  out
}

report <- function(set, s, n, lists, daisyTypes, phylogeny) {
  B <- numbers(set, "B.txt", s); W <- numbers(set, "W.txt", n)
  # The example's E is standardised before anything sees it, as for different units.
  E <- scale(numbers(set, "E.txt", n))
  types <- scan(file.path(arguments[1], set, "types.txt"), n = s, quiet = TRUE)
  traits <- as.data.frame(B)
  Sb <- 1 - as.matrix(daisy(traits, "gower", type = daisyTypes))
  o <- list(W = W / rowSums(W), B = B, U = belonging(Sb, types), Sb = Sb, SbFixed = Sb)
  if (phylogeny) {
    d <- numbers(set, "F.txt", s)
    o$d <- d / max(d)
    o$Q <- belonging(1 - o$d, types)
  }
  observed <- statistics(o, E)
  f <- attr(observed, "rv")
  cat("==", set, "\n-- matrix correlation\n"); print(c(observed), digits = 9)
  cat("-- RV\n"); print(f(attr(observed, "rvf")), digits = 9)
  cat("-- Procrustes\n"); print(f(attr(observed, "prof")), digits = 9)

  random <- apply(as.matrix(read.table(lists)), 1, function(list) {
    m <- o
    m$B <- o$B[list, , drop = FALSE]; m$U <- o$U[list, ]; m$Sb <- o$Sb[list, list]
    if (phylogeny) { m$Q <- o$Q[list, ]; m$d <- o$d[list, list] }
    c(statistics(m, E))
  })
  cat("-- random statistics of the first list\n"); print(random[, 1], digits = 9)
  cat("-- counts of 20, observed included, two-tailed\n")
  print(1 + rowSums(abs(random) >= abs(c(observed)) * (1 - 1e-7)))
}

# Sums of squares of a dissimilarity between and within the states of a factor (vegan::adonis2).
pseudoF <- function(d, factor) {
  ss <- adonis2(d ~ factor, permutations = 0)$SumOfSqs
  ss[1] / ss[2]
}

observedParts <- function(set, s, n, daisyTypes) {
  B <- numbers(set, "B.txt", s); W <- numbers(set, "W.txt", n); W <- W / rowSums(W)
  types <- scan(file.path(arguments[1], set, "types.txt"), n = s, quiet = TRUE)
  Sb <- 1 - as.matrix(daisy(as.data.frame(B), "gower", type = daisyTypes))
  T <- W %*% B
  list(T = sweep(T, 2, sqrt(colSums(T^2)), "/"), X = W %*% belonging(Sb, types),
       R = rao(W, sqrt(pmax(1 - Sb, 0))), W = W)
}

o <- observedParts("dune", 30, 20, list(symm = 6:7))
F <- numbers("dune", "F.txt", 30)
E <- scale(numbers("dune", "E.txt", 20)) / sqrt(19)  # sum of squares of a column: 1
fit <- lm(cbind(o$T, o$R, rao(o$W, sqrt(F / max(F)))) ~ E)
cat("== dune, regression: r square\n")
print(sapply(summary(fit), function(m) m$r.squared), digits = 9)
cat("coefficients of Rf, intercept first\n"); print(coef(fit)[, 8], digits = 9)

o <- observedParts("aravo", 82, 75, list())
form <- factor(numbers("aravo", "E_nominal.txt", 75)[, 1])
cat("== aravo, pseudo-F of Form on T, X, Rf, trait 1, trait 8\n")
print(c(pseudoF(dist(o$T), form), pseudoF(dist(o$X), form), pseudoF(dist(o$R), form),
        pseudoF(dist(o$T[, 1]), form), pseudoF(dist(o$T[, 8]), form)), digits = 9)

report("dune", 30, 20, arguments[2], list(symm = 6:7), TRUE)
report("aravo", 82, 75, arguments[3], list(), FALSE)
