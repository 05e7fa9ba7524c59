# SPDX-License-Identifier: GPL-3.0-or-later
# Writes inst/extdata from the project's examples: the same numbers as tables with names.
# Run in the folder of the package: Rscript data-raw/export.R

examples <- file.path("..", "..", "examples")
numbers <- function(path, rows) {
  lines <- readLines(path)
  M <- as.matrix(utils::read.table(text = lines[seq_len(rows)]))
  if (length(lines) > rows) colnames(M) <- strsplit(trimws(lines[rows + 1]), "[ \t]+")[[1]]
  M
}
write_table <- function(x, name) utils::write.csv(
  x, file.path("inst", "extdata", name), row.names = TRUE
)

export <- function(set, otus, communities, traits = identity, env = identity) {
  file <- function(name) file.path(examples, set, name)
  species <- readLines(file("species.txt"))
  B <- numbers(file("B.txt"), otus)
  W <- utils::read.table(text = readLines(file("W.txt"))[seq_len(communities)])
  sites <- strsplit(trimws(readLines(file("W.txt"))[communities + 1]), "[ \t]+")[[1]]
  E <- numbers(file("E_mixed.txt"), communities)
  write_table(traits(data.frame(B, row.names = species)), paste0(set, "_traits.csv"))
  write_table(
    data.frame(W, row.names = sites) |> stats::setNames(species), paste0(set, "_community.csv")
  )
  write_table(env(data.frame(E, row.names = sites)), paste0(set, "_environment.csv"))
  write_table(
    data.frame(type = scan(file("types.txt"), quiet = TRUE), row.names = species),
    paste0(set, "_types.csv")
  )
  species
}

forms <- c("convexity", "convex slope", "right slope", "concave slope", "concavity")
export("aravo", 82, 75, env = function(E) transform(E, Form = forms[Form]))
manage <- c("biological", "hobby", "conservation", "standard")
species <- export("dune", 30, 20,
  traits = function(B) transform(B, Monocot = Monocot == 1, Moss = Moss == 1),
  env = function(E) transform(E, Manage = manage[Manage])
)

ages <- numbers(file.path(examples, "dune", "F.txt"), 30)
dimnames(ages) <- list(species, species)
tree <- ape::as.phylo(stats::hclust(stats::as.dist(ages), "average"))
tree$tip.label <- gsub(" ", "_", tree$tip.label)
ape::write.tree(tree, file.path("inst", "extdata", "dune_tree.nwk"), digits = 15)
