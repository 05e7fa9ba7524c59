# SPDX-License-Identifier: GPL-3.0-or-later
test_that("every check has a table that triggers it", {
  s <- small()
  with <- function(part, ...) {
    changes <- list(...)
    for (i in seq_along(changes)) s[[part]] <- changes[[i]](s[[part]])
    s
  }
  cell <- function(i, j, value) function(table) { table[i, j] <- value; table }
  rename <- function(i, name) function(table) { rownames(table)[i] <- name; table }
  F <- as.matrix(dist(1:4))
  dimnames(F) <- rep(list(rownames(s$traits)), 2)
  wrong <- list(
    list(with("traits", rename(1, "poa_annua")), "'Poa annua' \\(nearest: 'poa_annua'\\)"),
    list(
      with("env", rename(2, "Plot.2")),
      "Communities of env not found in comm:\n.*'Plot.2' \\(nearest: 'plot2'\\)"
    ),
    list(with("comm", cell(2, 1:4, 0)), "communities without OTUs: 'plot2'"),
    list(with("comm", cell(1:4, 3, 0)), "OTUs without a record: 'Salix alba'"),
    list(with("comm", cell(2, 3, NA)), "comm, row 'plot2', column 'Salix alba': NA is missing"),
    list(with("comm", cell(4, 1, -2)), "comm, row 'plot4', column 'Poa annua': -2 is negative"),
    list(with("comm", cell(4, 1, Inf)), "column 'Poa annua': Inf is not finite"),
    list(with("comm", cell(1, 1, "x")), "comm, column 'Poa annua' holds no numbers"),
    list(
      with("comm", function(t) setNames(t, letters[1:4])),
      "OTUs of traits not found in comm:\n  'Poa annua'\n"
    ),
    list(with("traits", cell(1:4, 1, 3)), "traits, column 'height' has the same value everywhere"),
    list(with("traits", cell(1:4, 1, NA)), "traits, column 'height' holds nothing but missing"),
    list(
      with("traits", cell(3, 2, NA), cell(3, 1, NA)),
      "no trait is known of both 'Poa annua' and 'Salix alba'"
    ),
    list(with("traits", cell(2, 1, -999)), "row 'Rosa canina', column 'height': -999 is -999"),
    list(with("traits", cell(2, 1, Inf)), "row 'Rosa canina', column 'height': Inf is not finite"),
    list(
      with("traits", cell(1:4, 1, c("2,5", "3", "4,1", "5"))),
      "column 'height' is text that looks like numbers"
    ),
    list(
      with("traits", function(t) { t$when <- as.Date("2026-01-01") + 0:3; t }),
      "column 'when': class Date"
    ),
    list(with("traits", function(t) data.frame(t, row.names = NULL)), "traits has no row names"),
    list(with("traits", function(t) setNames(t, c("a", "a"))), "more than one column is named 'a'"),
    list(with("env", cell(1:4, 2, 1)), "env, column 'shade' has the same value everywhere"),
    list(with("env", cell(3, 1:2, NA)), "no variable is known of community 'plot3'"),
    list(
      c(s, trait_types = list(c(height = "binary"))),
      "traits, column 'height' is binary but holds 2, 5 and 9"
    ),
    list(c(s, trait_types = list(c(heihgt = "ordinal"))), "'heihgt' \\(nearest: 'height'\\)"),
    list(c(s, comm_rows = "rows"), "comm_rows must be one of"),
    list(
      c(s, phylo = list(ape::rtree(4, tip.label = letters[1:4]))),
      "OTUs not found in phylo \\(tree\\)"
    ),
    list(
      c(s, phylo = list(ape::rtree(4, br = NULL, tip.label = rownames(s$traits)))),
      "no branch lengths"
    ),
    list(
      c(s, phylo = list(cell(1, 3, 7)(F))),
      "'Salix alba', column 'Poa annua': 2 differs from its mirror"
    ),
    list(
      c(s, phylo = list(cell(2, 2, 0.5)(F))), "phylo, row 'Rosa canina', column 'diagonal': 0.5"
    ),
    list(c(s, phylo = list(-F)), "is negative"),
    list(c(s, phylo = list(1 + F)), "above 1, the largest similarity"),
    list(c(s, phylo = list(unname(F))), "phylo has no names"),
    list(replace(s, "types", list(c("a", "a", "b"))), "types has 3 entries for the 4 rows"),
    list(replace(s, "types", list(c("a", NA, "b", "a"))), "no type is given for 'Rosa canina'"),
    list(replace(s, "types", list(rep("a", 4))), "all OTUs are of one type"),
    list(replace(s, "types", list(9)), "a number of groups from 2 to 3 is wanted, not 9"),
    list(
      c(s, otus = list(c("Poa annua", "Rosa kanina"))), "'Rosa kanina' \\(nearest: 'Rosa canina'\\)"
    )
  )
  for (case in wrong) {
    expect_error(do.call(kelpra_data, case[[1]]), case[[2]], class = "kelpra_error")
  }
  square <- matrix(1:4, 2, dimnames = rep(list(c("a", "b")), 2))
  expect_error(kelpra_data(square, square, square), "rows and columns both fit")
  expect_warning(
    small_data(env = transform(s$env, east = 4569870 + 1:4)),
    "column 'east'.*six significant digits, in which 75 %"
  )
})

test_that("tables are matched by name, whatever their order, and cleaned on request", {
  s <- small()
  x <- small_data()
  y <- small_data(
    comm = t(s$comm[4:1, c(2, 4, 1, 3)]), env = s$env[c(3, 1, 2, 4), ],
    communities = rownames(s$env)
  )
  expect_identical(y[c("W", "B", "E")], x[c("W", "B", "E")])
  loud <- s$traits
  rownames(loud) <- toupper(chartr(" ", "_", rownames(loud)))
  expect_identical(unname(small_data(traits = loud, loose_names = TRUE)$W), unname(x$W))
  columns <- cbind(name = rownames(s$traits), s$traits)
  rownames(columns) <- NULL
  expect_message(first <- small_data(traits = columns), "first column, 'name'")
  expect_identical(first$B, x$B)
  more <- rbind(s$comm, empty = 0)
  more$stranger <- c(0, 0, 1, 0, 0)
  suppressMessages(
    dropped <- small_data(comm = more, env = rbind(s$env, empty = c(1, 1)), drop = TRUE)
  )
  expect_identical(dropped$W, x$W)
  expect_match(dropped$notes[1], "'stranger'")
  expect_match(dropped$notes[2], "communities without OTUs: 'empty'")
})

test_that("classes of columns decide the types of traits and the kind of E", {
  size <- factor(c("s", "l", "m", "s"), c("s", "m", "l"), ordered = TRUE)
  colour <- factor(c("red", "white", NA, "blue"), c("teal", "red", "white", "blue"))
  traits <- cbind(small()$traits, size, colour, spiny = c("no", "yes", "no", "no"))
  x <- small_data(traits = traits)
  expect_identical(
    names(x$trait_types),
    c("height", "woody", "size", "colour.red", "colour.white", "colour.blue", "spiny.yes")
  )
  expect_identical(unname(x$trait_types), c(3L, 1L, 4L, 1L, 1L, 1L, 1L))
  expect_identical(unname(x$trait_groups), c(1L, 2L, 3L, 4L, 4L, 4L, 5L))
  expect_identical(unname(x$B[, "size"]), c(1, 3, 2, 1))
  expect_identical(unname(x$B[, "colour.red"]), c(1, 0, NA, 0))
  codes <- small_data(traits = traits, factors = "codes", trait_groups = c(height = 1, size = 1))
  expect_identical(unname(codes$trait_types), c(3L, 1L, 4L, 2L, 2L))
  expect_identical(unname(codes$trait_groups), c(1L, 2L, 1L, 3L, 4L))
  kinds <- function(...) {
    env <- data.frame(..., row.names = paste0("plot", 1:4))
    small_data(env = env)[c("env_kind", "env_types")]
  }
  wet <- c(TRUE, FALSE, TRUE, TRUE)
  expected <- list(
    list(kinds(a = 1:4, size), 2L, c(3, 3)), list(kinds(colour, b = letters[1:4]), 3L, c(2, 2)),
    list(kinds(wet, dry = !wet), 4L, c(1, 1)),
    list(kinds(a = 1:4, wet, colour, size), 5L, c(3, 1, 2, 4))
  )
  for (case in expected) expect_equal(unname(lapply(case[[1]], unname)), case[2:3])
  expect_identical(small_data(env_units = "same")$env_kind, 1L)
  binary <- small_data(traits = traits, trait_types = list(spiny = "binary"))
  expect_identical(unname(binary$B[, "spiny"]), c(0, 1, 0, 0))
})

test_that("long and equal names are kept apart by a key, and results have the names", {
  key <- kelpra:::make_key(
    c("elevation_m_upper", "elevation_m_lower", "\u00c9cart", "a b", "x", "elevation_m"), 10
  )
  expect_identical(
    key$label, c("elevation_", "elevatio~2", "Ecart", "a_b", "x", "elevatio~3")
  )
  expect_identical(kelpra:::loosen(c("A.b", "c d"), c("a b", "a_b", "C-d")), c("A.b", "C-d"))
  expect_match(kelpra:::with_nearest(month.name, "zzzzzzzz"), "  'August'\nand 4 more$")
  expect_identical(kelpra:::listed(1:12), "1, 2, 3, 4, 5, 6, 7, 8 and 4 more")
  x <- small_data(env = setNames(small()$env, c("elevation_m_upper", "elevation_m_lower")))
  expect_identical(colnames(x$E), c("elevation_m_upper", "elevation_m_lower"))
  expect_identical(x$keys$variables$label, c("elevation_", "elevatio~2"))
})

test_that("types come from species, a clustering, its best cut or a number", {
  traits <- package_table("aravo_traits.csv")
  gower <- cluster::daisy(traits, "gower")
  tree <- hclust(gower, "ward.D2")
  width <- function(k) mean(cluster::silhouette(cutree(tree, k), gower)[, 3])
  expect_message(x <- aravo_data(), NA)
  expect_identical(tabulate(x$types$membership), c(19L, 14L, 10L, 4L, 10L, 14L, 7L, 4L))
  best <- suppressMessages(kelpra_data(traits, package_table("aravo_community.csv")))$types
  expect_equal(unname(best$silhouette), vapply(2:15, width, 0))
  expect_identical(length(best$labels), (2:15)[which.max(best$silhouette)])
  four <- kelpra_data(traits, package_table("aravo_community.csv"), types = 4)$types
  expect_identical(four$membership, unname(cutree(tree, 4)))
  given <- suppressMessages(
    kelpra_data(traits, package_table("aravo_community.csv"), types = tree)
  )$types
  expect_identical(given$membership, best$membership)
  expect_identical(small_data(types = "species")$types$labels, rownames(small()$traits))
})

test_that("a tree, its clustering and its distances are the same phylogeny", {
  otus <- rownames(small()$traits)
  tree <- hclust(
    as.dist(
      matrix(c(0, 2, 6, 8, 2, 0, 6, 8, 6, 6, 0, 8, 8, 8, 8, 0), 4, dimnames = list(otus, otus))
    ),
    "average"
  )
  phylo <- ape::as.phylo(tree)
  F <- small_data(phylo = tree)$F
  expect_equal(F[otus, otus], as.matrix(cophenetic(tree))[otus, otus])
  expect_equal(small_data(phylo = phylo)$F, F)
  expect_equal(small_data(phylo = cophenetic(tree))$F, F)
  expect_identical(small_data(phylo = 1 - F / 8)$phylo_kind, "similarity")
  phylo$edge.length <- phylo$edge.length / 100
  expect_equal(small_data(phylo = phylo)$F, F / 8)
  expect_message(
    small_data(phylo = ape::rtree(6, tip.label = c("x", otus, "y"))),
    "2 of 6 tips are not in traits and are pruned"
  )
})

test_that("states of a logical trait that is named nominal stay apart", {
  traits <- data.frame(size = c(2, 5, 9), woody = c(TRUE, FALSE, TRUE), row.names = c("a", "b", "c"))
  comm <- matrix(1:6, 2, dimnames = list(c("p", "q"), rownames(traits)))
  x <- suppressMessages(
    kelpra_data(traits, comm, trait_types = c(woody = "nominal"), types = "species")
  )
  expect_equal(unname(x$B[, 2]), c(1, 0, 1))
})
