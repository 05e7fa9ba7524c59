# SPDX-License-Identifier: GPL-3.0-or-later
# The program and the project's examples: in the project's tree, or where KELPRA and KELPRA_EXAMPLES
# say. What needs them is skipped without.

need_program <- function() {
  program <- try(kelpra_program(), silent = TRUE)
  skip_if(inherits(program, "try-error"), "no program kelpra")
}

example_file <- function(...) {
  folder <- Sys.getenv("KELPRA_EXAMPLES", test_path("..", "..", "..", "..", "examples"))
  skip_if_not(dir.exists(folder), "no examples of the project")
  file.path(folder, ...)
}

# Rows and columns in another order, perhaps turned, as a spreadsheet of another country saves them.
disguised <- function(table, turn = FALSE) {
  set.seed(20260101)
  table <- table[sample(nrow(table)), sample(ncol(table)), drop = FALSE]
  if (turn) table <- as.data.frame(t(table))
  path <- tempfile(fileext = ".csv")
  write.csv2(table, path)
  read.csv2(path, row.names = 1, check.names = FALSE)
}

package_table <- function(name) {
  read.csv(system.file("extdata", name, package = "kelpra"), row.names = 1, check.names = FALSE)
}

aravo_data <- function(env = c("Aspect", "Slope", "PhysD", "Snow"), ...) {
  traits <- package_table("aravo_traits.csv")
  E <- package_table("aravo_environment.csv")
  forms <- c("convexity", "convex slope", "right slope", "concave slope", "concavity")
  kelpra_data(
    disguised(traits)[names(traits)], disguised(package_table("aravo_community.csv"), turn = TRUE),
    transform(disguised(E), Form = factor(Form, forms))[env],
    types = disguised(package_table("aravo_types.csv")),
    otus = rownames(traits), communities = rownames(E), ...
  )
}

dune_tree <- function() ape::read.tree(system.file("extdata", "dune_tree.nwk", package = "kelpra"))

dune_types <- function() disguised(package_table("dune_types.csv"))

dune_data <- function(env = c("A1", "Moisture", "Manure"), types = dune_types(),
                      phylo = dune_tree(), ...) {
  traits <- package_table("dune_traits.csv")
  E <- package_table("dune_environment.csv")
  managements <- c("biological", "hobby", "conservation", "standard")
  suppressMessages(kelpra_data(
    disguised(traits)[names(traits)], disguised(package_table("dune_community.csv")),
    transform(disguised(E), Manage = factor(Manage, managements))[env], phylo, types,
    otus = rownames(traits), communities = rownames(E), loose_names = TRUE, ...
  ))
}

# Four OTUs in four communities along a gradient.
small <- function() {
  list(
    traits = data.frame(
      height = c(2, 5, 9, NA), woody = c(TRUE, FALSE, TRUE, FALSE),
      row.names = c("Poa annua", "Rosa canina", "Salix alba", "Urtica dioica")
    ),
    comm = data.frame(
      `Poa annua` = c(3, 1, 0, 0), `Rosa canina` = c(1, 2, 2, 0), `Salix alba` = c(0, 0, 1, 4),
      `Urtica dioica` = c(0, 1, 0, 2),
      row.names = paste0("plot", 1:4), check.names = FALSE
    ),
    env = data.frame(
      water = c(1.5, 2, 4, 7), shade = c(2, 9, 3, 4), row.names = paste0("plot", 1:4)
    ),
    types = c("low", "high", "high", "low")
  )
}

small_data <- function(...) {
  changed <- small()
  changed[...names()] <- list(...)
  do.call(kelpra_data, changed)
}

fake_program <- function(...) {
  path <- tempfile("fake")
  writeLines(c("#!/bin/sh", ...), path)
  Sys.chmod(path, "755")
  path
}

# Statistics are printed with six digits.
expect_close <- function(found, expected) expect_lt(abs(found - expected), 1e-6)
