# SPDX-License-Identifier: GPL-3.0-or-later
test_that("each fit draws what it has, without a warning, and leaves the device as it was", {
  need_program()
  run <- function(x, ...) kelpra(x, iterations = 19, ...)
  fits <- list(
    run(dune_data()), run(dune_data(), "procrustes", fuzzy = FALSE), run(aravo_data(), "rv"),
    run(dune_data(types = "species"), "regression", null = "sites"),
    run(aravo_data("Form"), "anova"), run(dune_data(c("A1", "Manage")), distance = "chord"),
    run(dune_data(), tests = FALSE), run(small_data(env = NULL), otus = 2:4, tests = FALSE),
    kelpra_max(dune_data(), iterations = 19)
  )
  all <- c("statistics", "means", "diversity", "ordination")
  kinds <- lapply(fits, kelpra:::picture_kinds)
  expect_identical(kinds, c(rep(list(all), 6), list(all[-1], all[4], all)))
  for (fit in fits) for (what in kelpra:::picture_kinds(fit)) {
    grDevices::pdf(NULL, width = 8, height = 9)
    before <- graphics::par(c("mfrow", "mar", "oma", "fig"))
    expect_no_warning(plot(fit, what))
    expect_equal(graphics::par(c("mfrow", "mar", "oma", "fig")), before, info = what)
    grDevices::dev.off()
  }
  expect_error(plot(fits[[8]], "means"), "nothing to draw for 'means'; it has ordination")
})

test_that("what is printed names the numbers, and tables are given out", {
  need_program()
  fit <- kelpra(dune_data(), iterations = 19)
  expect_output(print(fit), "0.00, mantel|: mantel, taxa shuffle, 19 iterations, seed 1\n20 comm")
  expect_output(print(summary(fit)), "r\\(TE\\) +trait convergence.*W.txt.*With R 4")
  expect_output(print(summary(fit$data)), "phylogeny as distance.*OptA1 +quantitative +0 ")
  untested <- kelpra(dune_data(), tests = FALSE, fuzzy = FALSE)
  expect_output(print(untested), "no tests\n.* crisp.*r\\(TE\\) +[-.0-9]+ *\n")
  expect_identical(as.data.frame(fit, what = "X")[[2]], unname(fit$matrices$X[, 2]))
  expect_identical(as.data.frame(fit, letters[1:20], what = "diversity")["c", "D"],
    fit$diversity$D[3])
  expect_false(anyNA(fit$statistics$meaning))
  expect_error(as.data.frame(fit, what = "Y"), "what must be one of")
})
