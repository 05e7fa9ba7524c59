# SPDX-License-Identifier: GPL-3.0-or-later
responses <- matrix(
  c(0.8, 0, 0, 0.4, 0.1, 0), 2,
  dimnames = list(c("height", "leaf"), c("water", "light", "water x light"))
)

test_that("rates are those of answers written by hand, however the data are analysed", {
  need_program()
  by_hand <- example_file("..", "tests", "dialogue")
  skip_if_not(dir.exists(by_hand), "no dialogues of the project")
  limits <- list(center = c(0.3, 0.7), slope = c(-8, -2))
  model <- list(
    responses, effects = rbind(c(0.05, 0), c(0, 0.02)), sites = 6, trait_cor = 0.7 * diag(2) + 0.3,
    env_cor = 0.8 * diag(2) + 0.2, interactions = TRUE, survival = limits, density = limits,
    age = limits, dispersal = list(center = c(0.2, 0.6), slope = c(-5, -2)), individuals = 5,
    years = 10, iterations = 19, unit_totals = FALSE
  )
  cases <- list(
    `simulation-regression-rates` = list(
      otus = 5, lifespan = c(4, 4), null = "sites", seed = 78, measure = "regression",
      tested_traits = "leaf", tested_predictors = 2:3, alpha = 0.5, sets = 2
    ),
    `simulation-variance-analysis` = list(
      sites = 8, otus = 5, lifespan = c(4, 9), seed = 79, measure = "anova",
      within = c(1, 1, 2, 2, 2), tested_predictors = c(1, 3), tested_otus = -3,
      otus_within = TRUE, otus_rescale = TRUE, unit_totals = TRUE, alpha = 0.6, sets = 2
    )
  )
  for (name in names(cases)) {
    folder <- file.path(tempdir(), name)
    dir.create(folder)
    case <- file.path(by_hand, name)
    used <- file.path(case, "uses") # inputs that lie elsewhere in the project, and a sed script
    if (file.exists(used)) file.copy(example_file("..", readLines(used)), folder)
    file.copy(list.files(case, "txt$", full.names = TRUE), folder)
    changed <- list.files(case, "^changes$", full.names = TRUE)
    script <- if (length(changed)) c("-f", changed) else c("-e", "''")
    answers <- system2("sed", c(script, file.path(folder, "answers.txt")), stdout = TRUE)
    kelpra:::run_program(folder, answers)
    report <- readLines(file.path(folder, "FinalSimulatedData.txt"))
    report <- report[grep("^PROBABILITIES", report):length(report)]
    expected <- as.numeric(sub(".*\tP=\t", "", grep("\tP=\t", report, value = TRUE)))
    found <- do.call(kelpra_power, modifyList(model, cases[[name]]))
    expect_identical(found$rates$rate, expected, info = name)
  }
})

test_that("what is given is what is simulated: traits by OTU, variables and coordinates by site", {
  need_program()
  set.seed(1)
  traits <- matrix(rnorm(10), 5, dimnames = list(paste0("s", 1:5), c("a", "b")))
  env <- matrix(rnorm(24), 12, dimnames = list(paste0("p", 1:12), c("u", "v")))
  certain <- cbind(rep(0.9, 5), -5)
  run <- kelpra_simulate(
    diag(2), trait_data = traits, env_data = env, site_xy = matrix(runif(24), 12),
    dispersal = certain, survival = certain, density = certain, age = certain, lifespan = 5:9,
    iterations = 19, steps = TRUE
  )
  expect_equal(run$traits, traits, tolerance = 1e-5, ignore_attr = "dimnames")
  expect_equal(rownames(run$comm), rownames(env))
  expect_equal(diag(cor(run$env, env)), c(u = 1, v = 1), tolerance = 1e-5)
  echoed <- readLines(run$report)
  at <- grep("with X and Y|[Cc]oordinates", echoed)[1]
  expect_length(strsplit(trimws(echoed[at + 1]), "\t")[[1]], 12)
  found <- run$statistics
  x <- kelpra_data(scale(run$traits), run$comm, run$env, types = "species")
  again <- kelpra(x, tests = FALSE)
  expect_close(found$value[found$name == "r(TE)"], again$statistics$value)
  expect_true(file.exists(file.path(run$folder, "CWM.txt")))
  untested <- kelpra_simulate(diag(2), sites = 6, otus = 4, years = 3)
  expect_identical(names(untested$statistics), c("name", "meaning", "value"))
  expect_output(print(untested), "6 sites, 4 OTUs, 2 traits, 2 predictors; 3 years, seed 1\n")
})

test_that("four workers find what one finds, and a study goes on where it was", {
  need_program()
  study <- function(...) {
    kelpra_power(diag(2), sites = 10, otus = 8, years = 5, iterations = 19, batch = 2, ...)
  }
  folder <- tempfile("study-")
  one <- study(sets = 7, alpha = 0.2, folder = folder)
  before <- future::plan("multisession", workers = 4)
  on.exit(future::plan(before))
  four <- study(sets = 7, alpha = 0.2)
  expect_identical(four$rates, one$rates)
  future::plan("sequential")
  expect_identical(four$batches$sets, c(2, 2, 2, 1))
  expect_identical(four$batches$seed, c(1, 2654435762, 1013904227, 3668339988)) # by hand
  expect_equal(four$level, 3 / 19)
  sums <- kelpra:::pooled(lapply(c(0.5, 1), function(r) data.frame(name = "r(TE)", rate = r)), 2:1)
  expect_equal(unlist(sums[2:4]), c(rejected = 2, sets = 3, rate = 2 / 3))

  unlink(file.path(folder, "batch-0002-of-2.rds"))
  dir.create(file.path(folder, "batch-0002-of-2"))
  kept <- file.path(folder, c("batch-0001-of-2.rds", "batch-0003-of-2.rds"))
  written <- file.mtime(kept)
  expect_identical(study(sets = 7, alpha = 0.2, folder = folder)$rates, one$rates)
  expect_identical(file.mtime(kept), written)
  more <- study(sets = 8, alpha = 0.2, folder = folder)$rates
  expect_true(all(more$rejected - one$rates$rejected + 1 >= 0) && all(more$sets == 8))
  expect_error(study(sets = 7, alpha = 0.3, folder = folder), "holds another study")

  interval <- stats::prop.test(one$rates$rejected[1], 7, correct = FALSE)$conf.int |>
    suppressWarnings()
  expect_equal(unlist(one$rates[1, c("lower", "upper")]), interval, ignore_attr = TRUE)
  grDevices::pdf(NULL)
  on.exit(grDevices::dev.off(), add = TRUE)
  expect_no_warning(plot(one))
})

test_that("both null models meet the same sets, and the larger P rejects where both do", {
  need_program()
  study <- function(null, otus, sets, seed = 1, batch = 1) {
    kelpra_power(
      diag(2), sites = 8, otus = otus, years = 5, iterations = 19, alpha = 0.3, null = null,
      sets = sets, seed = seed, batch = batch
    )$rates
  }
  for (otus in c(8, 6)) {
    both <- study("both", otus, 5)
    each <- lapply(kelpra:::batches_of(5, 1, 1)$seed, function(seed) {
      study("taxa", otus, 1, seed)$rejected * study("sites", otus, 1, seed)$rejected
    })
    expect_identical(both$rejected[both$null == "both"], Reduce(`+`, each))
    expect_identical(both$rejected[both$null == "taxa"], study("taxa", otus, 5)$rejected)
  }
  in_step <- study("both", 8, 5, batch = 5)
  expect_identical(in_step$rejected[in_step$null == "sites"], study("sites", 8, 5, batch = 5)$rejected)
})

test_that("a model that cannot be is refused in words", {
  cases <- list(
    list(list(), "responses is missing"),
    list(list(diag(2), sights = 3), "no argument 'sights'"),
    list(list(diag(2), interactions = TRUE), "2 columns; variables with their interactions are"),
    list(list(diag(2), effects = diag(3)), "effects is 3 by 3; 2 by 2 is wanted"),
    list(list(diag(2), trait_cor = rbind(c(1, 2), c(2, 1))), "not positive definite"),
    list(list(diag(2), survival = c(0.3, 0.7)), "survival must be a matrix of center and slope"),
    list(list(diag(2), age = list(center = c(0, 1), slope = c(-3, 0))), "age slope"),
    list(list(diag(2), lifespan = 1:3), "two limits, or years of each OTU"),
    list(list(diag(2), tested_predictors = "shade"), "shade"),
    list(list(diag(2), iterations = 0), "iterations must be 1 at least")
  )
  for (case in cases) {
    expect_error(do.call(kelpra_power, case[[1]]), case[[2]], class = "kelpra_error")
  }
})
