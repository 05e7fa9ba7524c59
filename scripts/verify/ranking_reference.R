# SPDX-License-Identifier: GPL-3.0-or-later
# Ranks the trait subsets of examples/aravo and examples/dune by every criterion, with base R
# alone, written from the published formulas (Gower 1971; Mantel 1967; Escoufier 1973; Rao 1982;
# Beals 1984; Peres-Neto & Jackson 2001; Tolvane et al. 2009). The table of expected values was made
# by
#     Rscript scripts/verify/ranking_reference.R examples > tests/reference/ranking_reference_test.txt
# A line of it: data, variant, criterion, measure (1 Mantel, 2 Procrustes, 3 RV), resemblance between
# communities (6 Euclidean, 10 chord), then for each number of traits a bar, the value of the best
# subset and its traits. Lines of "beside" hold what a row shows of traits 2, 3 and 5.
root <- commandArgs(TRUE)[1]

unit_columns <- function(M) apply(M, 2, function(x) (x - mean(x, na.rm = TRUE)) / sqrt(sum((x - mean(x, na.rm = TRUE))^2, na.rm = TRUE)))
# Distances that leave missing cells out.
apart <- function(M) as.dist(apply(M, 1, function(a) apply(M, 1, function(b) sqrt(sum((a - b)^2, na.rm = TRUE)))))

load_data <- function(name, n, s, variant = "none") {
    read <- function(file, rows) {
        lines <- strsplit(readLines(file.path(root, name, file)), "[\t ]+")[1:rows]
        matrix(as.numeric(unlist(lines)), nrow = rows, byrow = TRUE)
    }
    B <- read("B.txt", s)
    W <- read("W.txt", n)
    E <- read("E.txt", n)
    if (variant == "holesB") B[4, 1] <- B[6, 2] <- NA
    if (variant == "holesE") E[2, 1] <- NA
    d <- list(name = name, variant = variant, n = n, s = s, B = B, W = W / rowSums(W), E = unit_columns(E))
    d$dE <- apart(d$E)
    if (variant == "gowerE")
        d$dE <- as.dist(Reduce(`+`, lapply(1:ncol(E), function(j) abs(outer(E[, j], E[, j], "-")) / diff(range(E[, j])))) / ncol(E))
    d$types <- scan(file.path(root, name, "types.txt"), quiet = TRUE)[1:s]
    d$g <- length(unique(d$types))
    averages <- sapply(1:ncol(B), function(j) {
        known <- !is.na(B[, j])
        d$W[, known] %*% B[known, j] / rowSums(d$W[, known])
    })
    d$T <- sweep(averages, 2, sqrt(colSums(averages^2)), "/")
    d$layers <- lapply(seq_len(ncol(B)), function(j)
        1 - abs(outer(B[, j], B[, j], "-")) / diff(range(B[, j], na.rm = TRUE)))
    if (file.exists(file.path(root, name, "F.txt"))) {
        D <- read("F.txt", s)
        D <- D / max(D)
        # OTUs are pooled where the distance, not the similarity, is 1.
        d$P <- d$W %*% if (variant == "crispTaxa") crisp(d$types) else fuzzy(1 - D, D, d$types)
    }
    # Joint occurrences: abundance of the given OTU where the target is, over its own total.
    C <- t(d$W) %*% (d$W > 0)
    C <- C / diag(C)
    diag(C) <- 1
    d$Y <- d$W %*% C
    d$Z <- d$W %*% (t(d$W) %*% d$W)
    d
}

crisp <- function(types) outer(types, sort(unique(types)), "==") * 1

# Mean similarity to the members of each type, identical members counted once; rows of unit sum.
fuzzy <- function(S, identity, types) {
    s <- nrow(S)
    U <- sapply(sort(unique(types)), function(type) {
        kept <- c()
        of <- integer(s)
        for (j in which(types == type)) {
            twin <- kept[abs(identity[kept, j] - 1) < 1e-7]
            of[j] <- if (length(twin) > 0) twin[1] else j
            if (of[j] == j) kept <- c(kept, j)
        }
        sapply(seq_len(s), function(i) {
            others <- if (types[i] == type) c(setdiff(kept, of[i]), i) else kept
            sum(S[i, others]) / length(kept)
        })
    })
    U / rowSums(U)
}

centred <- function(M) scale(as.matrix(M), scale = FALSE)
rv <- function(A, B) {
    A <- tcrossprod(centred(A)); B <- tcrossprod(centred(B))
    sum(A * B) / sqrt(sum(A * A) * sum(B * B))
}
procrustes <- function(A, B) {
    A <- centred(A); B <- centred(B)
    if (sum(A^2) == 0 || sum(B^2) == 0) return(0)
    sum(svd(crossprod(A / sqrt(sum(A^2)), B / sqrt(sum(B^2))))$d)
}
without <- function(A, control) qr.resid(qr(cbind(1, control)), as.matrix(A))
# Without anything left of x or y once z is taken out there is nothing to correlate: 0.
partial <- function(xy, xz, yz) if (max(xz, yz) > 1 - 1e-9) 0 else (xy - xz * yz) / sqrt((1 - xz^2) * (1 - yz^2))

# The first g OTUs only, g being the number of types.
rao <- function(d, S) sapply(seq_len(d$n), function(c) {
    p <- d$W[c, 1:d$g]
    if (sum(p) == 0) return(0)
    p <- p / sum(p)
    sum(outer(p, p) * sqrt(pmax(0, 1 - S[1:d$g, 1:d$g])))
})
dark <- function(d, X) sapply(seq_len(d$n), function(c) {
    p <- d$W[c, 1:d$g]
    if (sum(p) == 0) 0 else sum(abs(p / sum(p) - X[c, ] / sum(X[c, ]))) / 2
})

similarity <- function(d, use) {
    if (d$variant != "euclid") {
        S <- apply(simplify2array(d$layers[use]), 1:2, mean, na.rm = TRUE)
        S[is.nan(S)] <- 0  # other traits compare the pair
        diag(S) <- 1
        return(S)
    }
    B <- apply(d$B, 2, function(x) (x - min(x)) / diff(range(x)))
    as.matrix(dist(B[, use, drop = FALSE]))
}

value <- function(d, criterion, measure, rese, use) {
    apart <- function(M) dist(if (rese == 10) M / sqrt(rowSums(M^2)) else M)
    T <- d$T[, use, drop = FALSE]
    S <- similarity(d, use)
    if (criterion != 10) X <- d$W %*%
        if (d$variant == "crispTypes") crisp(d$types) else fuzzy(if (d$variant == "euclid") 1 - S else S, S, d$types)
    Z <- if (criterion %in% 18:20) d$Z else d$Y
    coefficient <- if (measure == 2) procrustes else rv
    mantel <- measure == 1 || criterion %in% 14:15
    agree <- function(A, B, dA, dB) if (mantel) cor(dA, dB) else coefficient(A, B)
    # Deliberate: niche conservation takes a hole in E for the number -999.
    dE <- if (criterion %in% 14:15) dist(replace(d$E, is.na(d$E), -999)) else d$dE
    if (criterion %in% 14:15 && d$variant == "gowerE") dE <- d$dE
    dT <- dist(T)
    if (criterion != 10) dX <- apart(X)
    switch(as.character(criterion),
        "1" = agree(d$E, X, dE, dX),
        "9" = , "17" =
            if (mantel) partial(cor(dX, dE), cor(dX, dT), cor(dT, dE))
            else {
                control <- if (criterion == 17) cbind(T, rao(d, S)) else T
                coefficient(without(X, control), without(d$E, control))
            },
        "10" = agree(d$E, T, dE, dT),
        "11" = agree(X, d$P, dX, apart(d$P)),
        "12" =
            if (mantel) partial(cor(dX, apart(d$P)), cor(dX, dT), cor(dT, apart(d$P)))
            else coefficient(without(d$P, T), without(X, T)),
        "13" = agree(T, d$P, dT, apart(d$P)),
        "14" = cor(dT, dE) * cor(dT, apart(d$P)),
        "15" = cor(dX, dE) * cor(dX, apart(d$P)),
        "16" = agree(d$E, rao(d, S), dE, dist(rao(d, S))),
        "18" = , "21" = agree(X, Z, dX, apart(Z)),
        "19" = , "22" = agree(T, Z, dT, apart(Z)),
        "20" = , "23" =
            if (mantel) partial(cor(dX, apart(Z)), cor(dX, dT), cor(dT, apart(Z)))
            else coefficient(without(X, T), without(Z, T)),
        "24" = agree(d$E, dark(d, X), dE, dist(dark(d, X))))
}

rank_subsets <- function(d, criterion, measure, rese, sizes) {
    cat(d$name, d$variant, criterion, measure, rese)
    for (size in sizes) {
        subsets <- combn(ncol(d$B), size, simplify = FALSE)
        values <- sapply(subsets, function(use) as.numeric(value(d, criterion, measure, rese, use)))
        best <- which.max(if (criterion %in% c(9, 12, 17, 20, 23)) abs(values) else values)
        cat(" |", sprintf("%.12f", values[best]), subsets[[best]])
    }
    cat("\n")
}

beside <- function(d, criterion, measure) {
    use <- c(2, 3, 5)
    T <- d$T[, use]
    X <- d$W %*% fuzzy(similarity(d, use), similarity(d, use), d$types)
    agree <- function(A, B) if (measure == 1) cor(dist(A), dist(B)) else rv(A, B)
    TE <- if (criterion == 9) cor(d$dE, dist(T)) else agree(T, d$E)
    XE <- agree(X, d$E); XT <- agree(X, T); PT <- agree(d$P, T); PX <- agree(d$P, X); PE <- agree(d$P, d$E)
    v <- value(d, criterion, measure, 6, use)
    XE.T <- partial(XE, XT, TE); PE.T <- partial(PE, PT, TE); niche <- partial(PX, PT, XT)
    shown <- switch(as.character(criterion),
        "9" = if (measure == 1) c(TE, XE, XT, v) else c(TE, 0, 0, v),
        "12" = c(PT, PX, XT, v),
        "14" = c(PT, PX, XT, niche, XE, TE, XE.T, PE, partial(TE, PT, PE), PE.T, partial(XE, PX, PE),
                 partial(XE.T, niche, PE.T), TE * PT, PX * XE, XE.T * niche),
        "17" = c(TE, XE, XT, v),
        "16" = , "24" = c(TE, 0, 0, v))
    cat(d$name, "beside", criterion, measure, 6, "|", sprintf("%.12f", shown), "\n")
}

aravo <- load_data("aravo", 75, 82)
for (criterion in c(1, 9, 10, 16)) rank_subsets(aravo, criterion, 1, 6, 1:8)
dune <- load_data("dune", 20, 30)
for (measure in 1:3) for (criterion in c(1, 9:24)) rank_subsets(dune, criterion, measure, 6, c(1, 2, 5))
for (criterion in c(1, 9, 11, 18)) rank_subsets(dune, criterion, 1, 10, c(2, 5))
variants <- list(gowerE = c(1, 14), crispTypes = c(9, 15), crispTaxa = 11, euclid = c(1, 9), holesB = c(1, 9, 10), holesE = c(9, 15))
for (variant in names(variants)) for (criterion in variants[[variant]])
    rank_subsets(load_data("dune", 20, 30, variant), criterion, 1, 6, c(1, 2, 4))
for (criterion in c(9, 12, 14, 16, 17, 24)) beside(dune, criterion, 1)
for (criterion in c(9, 12)) beside(dune, criterion, 3)
