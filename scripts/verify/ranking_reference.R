# Ranks the trait subsets of examples/aravo and examples/dune by every criterion, with base R
# alone, written from the published formulas (Gower 1971; Mantel 1967; Escoufier 1973; Rao 1982;
# Beals 1984; Peres-Neto & Jackson 2001; Tolvane et al. 2009). The table of expected values was made
# by
#     Rscript ranking_reference.R examples > tests/reference/ranking_reference_test.txt
# Columns: data, criterion, measure (1 Mantel, 2 Procrustes, 3 RV), resemblance between communities
# (6 Euclidean, 10 chord), number of traits, value of the best subset, its traits.
root <- commandArgs(TRUE)[1]

load_data <- function(name, n, s) {
    read <- function(file, rows) {
        lines <- strsplit(readLines(file.path(root, name, file)), "[\t ]+")[1:rows]
        matrix(as.numeric(unlist(lines)), nrow = rows, byrow = TRUE)
    }
    B <- read("B.txt", s)
    W <- read("W.txt", n)
    d <- list(name = name, n = n, s = s, B = B, W = W / rowSums(W), E = scale(read("E.txt", n)))
    d$types <- scan(file.path(root, name, "types.txt"), quiet = TRUE)[1:s]
    d$g <- length(unique(d$types))
    d$T <- sweep(d$W %*% B, 2, sqrt(colSums((d$W %*% B)^2)), "/")
    d$layers <- lapply(seq_len(ncol(B)), function(j)
        1 - abs(outer(B[, j], B[, j], "-")) / diff(range(B[, j])))
    if (file.exists(file.path(root, name, "F.txt"))) {
        D <- read("F.txt", s)
        D <- D / max(D)
        d$P <- d$W %*% fuzzy(1 - D, D, d$types)  # pooled where the distance, not the similarity, is 1
    }
    # Joint occurrences: abundance of the given OTU where the target is, over its own total.
    C <- t(d$W) %*% (d$W > 0)
    C <- C / diag(C)
    diag(C) <- 1
    d$Y <- d$W %*% C
    d$Z <- d$W %*% (t(d$W) %*% d$W)
    d
}

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

value <- function(d, criterion, measure, rese, use) {
    apart <- function(M) dist(if (rese == 10) M / sqrt(rowSums(M^2)) else M)
    T <- d$T[, use, drop = FALSE]
    S <- Reduce(`+`, d$layers[use]) / length(use)
    X <- if (criterion != 10) d$W %*% fuzzy(S, S, d$types)
    Z <- if (criterion %in% 18:20) d$Z else d$Y
    coefficient <- if (measure == 2) procrustes else rv
    mantel <- measure == 1 || criterion %in% 14:15
    agree <- function(A, B, dA, dB) if (mantel) cor(dA, dB) else coefficient(A, B)
    dE <- dist(d$E); dT <- dist(T)
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

rank_subsets <- function(d, criterion, measure, rese, size) {
    subsets <- combn(ncol(d$B), size, simplify = FALSE)
    values <- sapply(subsets, function(use) as.numeric(value(d, criterion, measure, rese, use)))
    best <- which.max(if (criterion %in% c(9, 12, 17, 20, 23)) abs(values) else values)
    cat(d$name, criterion, measure, rese, size, sprintf("%.12f", values[best]), subsets[[best]], "\n")
}
aravo <- load_data("aravo", 75, 82)
for (criterion in c(1, 9, 10, 16)) for (size in 1:8) rank_subsets(aravo, criterion, 1, 6, size)
dune <- load_data("dune", 20, 30)
for (measure in 1:3) for (criterion in c(1, 9:24)) for (size in c(1, 2, 5))
    rank_subsets(dune, criterion, measure, 6, size)
for (criterion in c(1, 9, 11, 18)) for (size in c(2, 5)) rank_subsets(dune, criterion, 1, 10, size)
