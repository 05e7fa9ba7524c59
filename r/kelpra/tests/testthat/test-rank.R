# SPDX-License-Identifier: GPL-3.0-or-later
test_that("a ranking is that of answers written by hand, and its best what the analysis finds", {
  need_program()
  cases <- list(
    list("aravo", "XE", aravo_data(), "TDAP_TCAP"), list("dune", "PX", dune_data(), "PSAP_X")
  )
  for (case in cases) {
    folder <- tempfile("by-hand-")
    dir.create(folder)
    file.copy(list.files(example_file(case[[1]]), full.names = TRUE), folder)
    for (part in c("new", "rank")) {
      kelpra:::run_program(folder, readLines(file.path(folder, paste0("answers_", part, ".txt"))))
    }
    report <- file.path(folder, paste0(case[[1]], "ChRank_", case[[4]], ".txt"))
    few <- kelpra_rank(case[[3]], case[[2]], session = case[[1]], all = FALSE)
    expect_identical(
      kelpra:::masked(readLines(few$report)), kelpra:::masked(readLines(report))
    )
    all <- kelpra_rank(case[[3]], case[[2]])
    expect_equal(all$subsets$value[1:100], few$subsets$value)
    best <- strsplit(all$subsets$traits[1], " + ", fixed = TRUE)[[1]]
    again <- kelpra(case[[3]], traits = best, iterations = 2)$statistics
    name <- c(XE = "r(XE)", PX = "ro(PX)")[[case[[2]]]]
    expect_close(again$value[again$name == name], all$subsets$value[1])
  }
})

test_that("each criterion's report is read: every subset, the best 100, the best of each size", {
  need_program()
  x <- dune_data()
  for (criterion in rownames(kelpra:::rank_criteria)) {
    all <- suppressMessages(kelpra_rank(x, criterion))
    few <- suppressMessages(kelpra_rank(x, criterion, all = FALSE))
    expect_identical(c(nrow(all$subsets), nrow(few$subsets)), c(127L, 100L), info = criterion)
    expect_setequal(head(all$subsets$traits, 20), head(few$subsets$traits, 20))
    at <- match(all$best$traits, all$subsets$traits)
    expect_equal(all$subsets$value[at], all$best$value, info = criterion)
    expect_identical(!duplicated(all$subsets$size), seq_len(127) %in% at, info = criterion)
  }
  grDevices::pdf(NULL)
  on.exit(grDevices::dev.off())
  expect_no_warning(plot(all))
})

test_that("a ranking of fewer traits and variables is that of data which have no others", {
  need_program()
  three <- c("Freq", "OptA1", "Moss")
  part <- kelpra_rank(dune_data(), "TE", traits = three, variables = c("A1", "Manure"))
  whole <- dune_data(c("A1", "Manure"))
  expect_identical(part$subsets$size |> sort(), c(1L, 1L, 1L, 2L, 2L, 2L, 3L))
  again <- kelpra(whole, traits = three, iterations = 2)$statistics
  expect_close(again$value[1], part$best$value[3])
})

test_that("what cannot be ranked, and what takes long, is said before", {
  need_program()
  x <- small_data()
  expect_error(kelpra_rank(x, "PX"), "criterion 'PX' needs phylo")
  expect_error(kelpra_rank(x, sizes = c(1, 2, 4)), "sizes must be a whole number from 1 to 2")
  expect_error(kelpra_rank(dune_data(), sizes = c(1, 3)), "a run of whole numbers")
  expect_error(kelpra_rank(dune_data(), "PT*TE", measure = "rv"), "takes matrix correlation")
  slow <- function(folder, sizes, all) list(seconds = if (1 %in% sizes) 2.1 else 0.63)
  expect_warning(kelpra:::warn_time(2^20 - 1, slow, 20, 1:20), "1 048 575 subsets .* about 5.7 h")
})
