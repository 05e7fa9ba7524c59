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
  for (fit in fits) for (what in kelpra:::picture_kinds(fit)) {
    grDevices::pdf(NULL, width = 8, height = 9)
    before <- graphics::par(c("mfrow", "mar", "oma", "fig"))
    expect_no_warning(plot(fit, what))
    expect_equal(graphics::par(c("mfrow", "mar", "oma", "fig")), before, info = what)
    grDevices::dev.off()
  }
  expect_error(plot(fits[[8]], "means"), "nothing to draw for 'means'; it has ordination")
})
