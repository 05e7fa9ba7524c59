# SPDX-License-Identifier: GPL-3.0-or-later
# Phylogenetic resemblance from a tree, a clustering, distances or similarities.
#
# resemblance(phylo, otus)  list(
#   F     OTUs by OTUs
#   kind  "distance" or "similarity"
#   from  what it was made of, for the summary)

resemblance <- function(phylo, otus, loose = FALSE) {
  full <- full_resemblance(phylo)
  names <- if (loose) loosen(rownames(full$F), otus) else rownames(full$F)
  dimnames(full$F) <- list(names, names)
  absent <- setdiff(otus, names)
  if (length(absent)) {
    strangers(
      absent, names, "OTUs", paste("in phylo", full$from),
      "Rename them, set loose_names = TRUE, or choose OTUs by the argument otus."
    )
  }
  extra <- length(names) - length(otus)
  if (extra) say("phylo: ", extra, " of ", length(names), " tips are not in traits and are pruned.")
  full$F <- full$F[otus, otus]
  check_resemblance(full)
}

full_resemblance <- function(phylo) {
  if (inherits(phylo, "hclust")) {
    return(tree_distances(as.matrix(stats::cophenetic(phylo)), "(clustering)"))
  }
  if (inherits(phylo, "phylo")) {
    if (is.null(phylo$edge.length)) {
      stop_kelpra("phylo: the tree has no branch lengths; ape::compute.brlen makes some.")
    }
    check_names(phylo$tip.label, "phylo", "tip")
    return(tree_distances(ape::cophenetic.phylo(phylo), "(tree)"))
  }
  if (inherits(phylo, "dist")) phylo <- as.matrix(phylo)
  if (is.data.frame(phylo)) phylo <- as.matrix(phylo)
  square_matrix(phylo)
}

# The unit of branch lengths is arbitrary: the program scales long trees to 1, this the short ones.
tree_distances <- function(distances, from) {
  if (max(distances) <= 1) distances <- distances / max(distances)
  list(F = distances, kind = "distance", from = from)
}

square_matrix <- function(m) {
  if (!is.matrix(m) || !is.numeric(m) || nrow(m) != ncol(m)) {
    stop_kelpra(
      "phylo must be a tree (class phylo), a hclust, a dist or a square matrix of numbers."
    )
  }
  if (is.null(rownames(m))) rownames(m) <- colnames(m)
  if (is.null(rownames(m))) stop_kelpra("phylo has no names; give the matrix row names.")
  if (!is.null(colnames(m)) && !identical(rownames(m), colnames(m))) {
    if (!setequal(rownames(m), colnames(m))) {
      stop_kelpra("phylo: its rows and columns have different names.")
    }
    m <- m[, rownames(m)]
  }
  check_names(rownames(m), "phylo", "row")
  list(F = m, kind = if (all(diag(m) %in% 1)) "similarity" else "distance", from = "(matrix)")
}

check_resemblance <- function(r) {
  colnames(r$F) <- rownames(r$F)
  check_cells(r$F, !is.finite(r$F), "phylo", "is not a number")
  check_cells(r$F, r$F < 0, "phylo", "is negative")
  slack <- 1e-8 * max(r$F)
  check_cells(
    r$F, abs(r$F - t(r$F)) > slack, "phylo", "differs from its mirror image: it is not symmetric"
  )
  if (r$kind == "similarity") check_cells(
    r$F, r$F > 1, "phylo", "is above 1, the largest similarity"
  )
  diagonal <- cbind(diagonal = diag(r$F))
  if (r$kind == "distance") check_cells(
    diagonal, diagonal > slack, "phylo",
    "is an OTU's distance to itself and must be 0 (1 in similarities)"
  )
  if (max(r$F) == 0) stop_kelpra("phylo: all distances are 0.")
  r
}
