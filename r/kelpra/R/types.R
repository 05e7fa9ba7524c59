# SPDX-License-Identifier: GPL-3.0-or-later
# Types of OTUs: the groups whose composition the analysis follows.
#
# otu_types(types, traits, otus)  list(
#   membership  a number for each OTU, 1 ... in order of the labels
#   labels      label of each type
#   species     whether each OTU is its own type
#   from        what it was made of, for the summary
#   silhouette  mean silhouette width on the Gower distance, by number of groups, or NULL)
#
# traits: the user's columns (factors as factors), rows in the order of otus.

otu_types <- function(types, traits, otus, given_order) {
  if (identical(types, "species")) return(species_types(otus))
  if (is.null(types) || inherits(types, "hclust") || (is.numeric(types) && length(types) == 1)) {
    return(cluster_types(types, traits))
  }
  if (is.data.frame(types)) types <- stats::setNames(types[[1]], rownames(types))
  given_types(types, otus, given_order)
}

species_types <- function(otus) {
  list(
    membership = seq_along(otus), labels = otus, species = TRUE, from = "each OTU its own type",
    silhouette = NULL
  )
}

given_types <- function(types, otus, given_order) {
  if (is.null(names(types))) {
    if (length(types) != length(given_order)) {
      stop_kelpra(
        "types has ", length(types), " entries for the ", length(given_order),
        " rows of traits; name them by OTU."
      )
    }
    names(types) <- given_order
  }
  absent <- setdiff(otus, names(types))
  if (length(absent)) strangers(absent, names(types), "OTUs", "in types", "Each OTU needs a type.")
  types <- types[otus]
  if (anyNA(types)) {
    stop_kelpra("types: no type is given for ", listed(quoted(otus[is.na(types)])), ".")
  }
  group <- if (is.factor(types)) droplevels(types) else factor(types)
  if (nlevels(group) < 2) {
    stop_kelpra("types: all OTUs are of one type; the analysis compares two at least.")
  }
  list(
    membership = as.integer(group), labels = levels(group), species = FALSE, from = "given",
    silhouette = NULL
  )
}

# Ward's criterion on the Gower distance; the number of groups by the mean silhouette width
# (Rousseeuw 1987, Journal of Computational and Applied Mathematics 20:53).
cluster_types <- function(k, traits) {
  n <- nrow(traits)
  distance <- gower_distance(traits)
  given <- inherits(k, "hclust")
  tree <- if (given) named_tree(k, rownames(traits)) else stats::hclust(distance, "ward.D2")
  from <- if (given) "the given clustering" else "Ward clustering on the Gower distance"
  most <- min(15L, n - 1L)
  if (is.numeric(k) && (k != round(k) || k < 2 || k >= n)) {
    stop_kelpra("types: a number of groups from 2 to ", n - 1, " is wanted, not ", k, ".")
  }
  if (n < 4 && !is.numeric(k)) {
    stop_kelpra("types: ", n, " OTUs are too few to choose a number of groups; give types.")
  }
  tried <- if (is.numeric(k)) k else 2:most
  width <- vapply(tried, function(g) mean_silhouette(stats::cutree(tree, g), distance), 0)
  best <- tried[which.max(width)]
  list(
    membership = unname(stats::cutree(tree, best)[rownames(traits)]),
    labels = as.character(seq_len(best)),
    species = FALSE, from = from, silhouette = stats::setNames(width, tried)
  )
}

mean_silhouette <- function(group, distance) {
  mean(cluster::silhouette(group[labels(distance)], distance)[, "sil_width"])
}

named_tree <- function(tree, otus) {
  absent <- setdiff(otus, tree$labels)
  if (length(absent)) {
    strangers(
      absent, as.character(tree$labels), "OTUs", "in types", "The clustering must hold each OTU."
    )
  }
  if (length(tree$labels) > length(otus)) {
    stop_kelpra("types: the clustering holds OTUs that traits lack; cut it and give the groups.")
  }
  tree
}

gower_distance <- function(traits) {
  traits[] <- lapply(traits, function(v) if (is.character(v) || is.logical(v)) factor(v) else v)
  suppressWarnings(cluster::daisy(traits, metric = "gower"))
}
