# SPDX-License-Identifier: GPL-3.0-or-later
test_that("shuffled, turned, semicolon-and-comma tables give the report of hand-written files", {
  need_program()
  ordinal <- function(...) vapply(list(...), function(name) "ordinal", "") |> setNames(c(...))
  similarities <- as.matrix(read.table(example_file("dune", "F_sim.txt"))) |>
    structure(dimnames = rep(list(readLines(example_file("dune", "species.txt"))), 2))
  cases <- list(
    list("aravo", "new", aravo_data(), list()),
    list(
      "aravo", "mixed",
      aravo_data(
        c("Aspect", "Slope", "Form", "PhysD", "ZoogD", "Snow"), env_types = ordinal("ZoogD")
      ),
      list()
    ),
    list("aravo", "anova", aravo_data("Form"), list(measure = "anova")),
    list("dune", "new", dune_data(), list()),
    list(
      "dune", "mixed",
      dune_data(
        c("A1", "Moisture", "Manage", "Use", "Manure"), phylo = similarities[30:1, 30:1],
        env_types = ordinal("Moisture", "Use", "Manure")
      ),
      list(distance = "chord", details = TRUE)
    ),
    list("dune", "nested", dune_data(), list(measure = "procrustes", fuzzy = FALSE,
      within = scan(example_file("dune", "nesting.txt"), quiet = TRUE))),
    list(
      "dune", "species", dune_data(types = "species"), list(measure = "regression", null = "sites")
    )
  )
  for (case in cases) {
    folder <- tempfile("by-hand-")
    dir.create(folder)
    file.copy(list.files(example_file(case[[1]]), full.names = TRUE), folder)
    kelpra:::run_program(
      folder, readLines(file.path(folder, paste0("answers_", case[[2]], ".txt")))
    )
    report <- file.path(folder, paste0(case[[1]], "Prinda.txt"))
    by_hand <- readLines(report)
    expect_true(kelpra_verify(report)$same)
    fit <- do.call(kelpra, c(list(case[[3]], session = case[[1]]), case[[4]]))
    expect_identical(
      kelpra:::masked(readLines(fit$report)), kelpra:::masked(by_hand),
      info = paste(case[1:2], collapse = " ")
    )
  }
})

test_that("statistics and matrices are those of vegan, ade4, cluster and base R", {
  need_program()
  skip_if_not_installed("vegan")
  skip_if_not_installed("ade4")
  x <- aravo_data()
  run <- function(measure, ...) kelpra(x, measure, iterations = 2, digits = 15, details = TRUE, ...)
  stat <- function(fit, name) fit$statistics$value[fit$statistics$name == name]
  fit <- run("mantel")
  m <- fit$matrices
  shares <- x$W / rowSums(x$W)
  dissimilarity <- as.matrix(cluster::daisy(as.data.frame(x$B), "gower"))
  rao <- function(d) rowSums(shares %*% d * shares)
  E <- scale(x$E)
  DE <- dist(E)
  DX <- dist(m$X)
  expect_equal(m$T, shares %*% x$B, tolerance = 1e-6)
  expect_equal(fit$diversity$D, unname(vegan::diversity(x$W, "simpson")), tolerance = 1e-6)
  expect_equal(1 - m$Sb, dissimilarity, tolerance = 1e-6)
  expect_equal(fit$diversity$Rf, unname(rao(sqrt(dissimilarity))), tolerance = 1e-6)
  twice <- as.dist(sqrt(2 * sqrt(dissimilarity)))
  expect_equal(
    fit$diversity$Rf, ade4::divc(as.data.frame(t(x$W)), twice)$diversity, tolerance = 1e-6
  )
  expect_equal(
    run("mantel", sqrt_traits = FALSE)$diversity$Rf, unname(rao(dissimilarity)), tolerance = 1e-6
  )
  expect_equal(m$X, shares %*% m$U, tolerance = 1e-6)
  expect_equal(m$X_crisp, shares %*% m$C, tolerance = 1e-6)
  expect_equal(unname(m$DT), unname(as.matrix(dist(m$Tn))), tolerance = 1e-6)
  expect_equal(
    m$type_traits[, "SLA"], tapply(x$B[, "SLA"], x$types$membership, mean) |> c(), tolerance = 1e-6
  )
  expect_close(stat(fit, "r(TE)"), vegan::mantel(DE, dist(m$Tn), permutations = 0)$statistic)
  expect_close(stat(fit, "r(XE)"), vegan::mantel(DE, DX, permutations = 0)$statistic)
  expect_close(stat(fit, "r(RE)"), cor(DE, dist(fit$diversity$Rf)) |> c())
  partial <- vegan::mantel.partial(DX, DE, dist(m$Tn), permutations = 0)$statistic
  expect_close(stat(fit, "r(XE.T)"), partial)

  fit <- run("rv")
  rv <- ade4::RV.rtest(
    as.data.frame(scale(fit$matrices$Tn, scale = FALSE)), as.data.frame(E), nrepet = 1
  )$obs
  expect_close(stat(fit, "r(TE)"), rv)
  fit <- run("procrustes")
  expect_close(stat(fit, "r(TE)"), vegan::protest(fit$matrices$Tn, E, permutations = 0)$t0)
  fit <- run("regression")
  model <- lm(fit$matrices$Tn[, "SLA"] ~ E)
  expect_close(stat(fit, "r-square of SLA"), summary(model)$r.squared)
  expect_close(stat(fit, "Snow on SLA"), coef(model)[["ESnow"]] / sqrt(nrow(E) - 1) * (nrow(E) - 1))
})

test_that("missing traits are left out of the means of communities", {
  need_program()
  fit <- kelpra(small_data(), iterations = 2)
  by_hand <- c(11 / 4, 4, 19 / 3, 9)
  expect_equal(unname(fit$matrices$T[, "height"]), by_hand, tolerance = 1e-6)
})

test_that("tables with phylogeny are under their own names", {
  need_program()
  fit <- kelpra(dune_data(), iterations = 2, digits = 15, details = TRUE)
  m <- fit$matrices
  d <- fit$diversity
  shares <- m$W / rowSums(m$W)
  unnamed <- function(x) unname(as.matrix(x))
  expect_equal(m$P, shares %*% m$Q, tolerance = 1e-6)
  expect_equal(unnamed(m$DP), unnamed(dist(m$P)), tolerance = 1e-6)
  expect_equal(unnamed(m$DE), unnamed(dist(scale(m$E) / sqrt(nrow(m$E) - 1))), tolerance = 1e-6)
  expect_equal(unnamed(m$DY), unnamed(dist(m$Y)), tolerance = 1e-6)
  expect_equal(d$Rp, unname(rowSums(shares %*% (m$F / max(m$F)) * shares)), tolerance = 2e-6)
  expect_equal(c(d$FR, d$PR), d$D - c(d$Rf, d$Rp), tolerance = 1e-6)
  for (name in c("D", "Rf", "Rp")) {
    expect_equal(d[[paste0(name, "_jost")]], 1 / (1 - d[[name]]), tolerance = 2e-6)
  }
  expect_equal(c(d$FR_jost, d$PR_jost), d$D_jost - c(d$Rf_jost, d$Rp_jost), tolerance = 1e-5)
  expect_identical(rownames(d), rownames(m$W))
})

test_that("every setting reaches the program", {
  need_program()
  fit <- kelpra(dune_data(), "mantel", "taxa", 19,
    seed = 4294967295, fuzzy = FALSE, within = rep(1:3, 10), distance = "chord",
    variables = c("A1", "Manure"), traits = -1, otus = 1:25, otus_within = TRUE,
    otus_rescale = TRUE, unit_totals = FALSE, details = TRUE, two_tailed = FALSE,
    joint_absences = FALSE, sqrt_traits = FALSE, sqrt_phylo = TRUE, beals_target = FALSE,
    digits = 9, intermediate = TRUE, processors = 1, session = "all.of-it"
  )
  report <- paste(readLines(fit$report), collapse = "\n")
  said <- c(
    "iterations for permutation tests: 19\n", "seed: 4294967295\n", "none \\(crisp\\)",
    "within the following groups",
    "10 \\(chord distance\\)", "weights:     0\t1\t1\t1\t1\t1\t1", "RESTRICTED to",
    "Scale was maintained",
    "NOT adjusted to unit totals prior to evaluation of TDAP", "ONE-tailed", "binary traits\\? not",
    "based on traits computed on square root transformed dissimilarities\\? not",
    "based on phylogeny computed on square root transformed dissimilarities\\? yes",
    "target OTU NOT included",
    "Session:          all.of-it\n", "[^0-9]0\\.[1-9][0-9]{8}\t"
  )
  for (text in said) expect_match(report, text, perl = TRUE)
  expect_true(file.size(file.path(fit$folder, "all.of-itRDa.txt")) > 1e4)
  expect_match(paste(readLines(file.path(fit$folder, "answers.txt")), collapse = " "), "M 1 C N")
  expect_identical(fit$statistics$tails, ifelse(grepl("[._]", fit$statistics$name), 2L, 1L))
  expect_identical(
    unname(fit$checksums["B.txt"]), unname(tools::md5sum(file.path(fit$folder, "B.txt")))
  )
  expect_true(kelpra_verify(fit)$same)
  expect_match(kelpra_verify(fit$report)$reason, "selection of variables")

  untested <- kelpra(dune_data(), tests = FALSE)
  expect_identical(untested$statistics$name, "r(TE)")
  expect_true(kelpra_verify(untested)$same)
  axes <- kelpra(dune_data(), "rv", iterations = 2, axes_factor = 3.5)
  expect_match(paste(readLines(axes$report), collapse = "\n"), "n/f\\): 3.5")
  expect_true(kelpra_verify(axes$report)$same)
  factors <- transform(package_table("dune_traits.csv"), form = factor(rep(c("a", "b", "c"), 10)))
  grouped <- kelpra_data(factors, package_table("dune_community.csv"), types = 3)
  fit <- kelpra(grouped, iterations = 2)
  expect_equal(
    sum(kelpra:::report_head(kelpra:::report_lines(fit$report))$weights), 8, tolerance = 1e-4
  )
  expect_true(kelpra_verify(fit$report)$same)
})

test_that("settings that do not fit are refused before the run", {
  quantitative <- small_data()
  nominal <- small_data(env = transform(small()$env, form = c("a", "b", "a", "c")))
  wrong <- list(
    list(
      nominal, list(measure = "rv"), "cannot be used with a nominal variable in env \\('form'\\)"
    ),
    list(nominal, list(measure = "regression"), "nominal variable"),
    list(quantitative, list(measure = "anova"), "quantitative ones \\('water' and 'shade'\\)"),
    list(quantitative, list(measure = "regression", tests = FALSE), "with tests only"),
    list(small_data(env = NULL), list(measure = "regression"), "needs env"),
    list(quantitative, list(measure = "pearson"), "measure must be one of"),
    list(quantitative, list(iterations = 0), "iterations must be a whole number from 1"),
    list(quantitative, list(seed = -1), "seed must be a whole number from 0 to 4294967295"),
    list(quantitative, list(fuzzy = NA), "fuzzy must be TRUE or FALSE"),
    list(quantitative, list(traits = "heigth"), "'heigth' \\(nearest: 'height'\\)"),
    list(quantitative, list(variables = 3), "no number 3"),
    list(quantitative, list(variables = rep(FALSE, 2)), "No variable is chosen"),
    list(quantitative, list(null = "sites", within = 1:4), "no effect on sites"),
    list(quantitative, list(within = 1:3), "3 entries for 4 OTUs"),
    list(quantitative, list(traits = c(FALSE, FALSE)), "No trait is chosen"),
    list(quantitative, list(otus = 2), "Fewer than two OTUs"),
    list(small_data(env_types = list(water = "binary", shade = "binary"), env = small()$env > 3),
      list(measure = "anova", variables = 1), "needs all variables of env"),
    list(quantitative, list(session = "my study"), "session must be one word"),
    list(quantitative, list(folder = dirname(test_path())), "not empty")
  )
  old <- options(kelpra.program = fake_program("exit 0"))
  on.exit(options(old))
  for (case in wrong) expect_error(
    do.call(kelpra, c(case[1], case[[2]])), case[[3]], class = "kelpra_error", info = case[[3]]
  )
  options(kelpra.program = tempfile())
  expect_error(kelpra(quantitative), "There is no program at", class = "kelpra_no_program")
})

test_that("a run out of step ends within seconds, with a message and its folder", {
  s <- small()
  fails <- function(lines, pattern, ...) {
    old <- options(kelpra.program = fake_program(lines))
    on.exit(options(old))
    seconds <- system.time(
      failure <- expect_error(kelpra(small_data(), ...), pattern, class = "kelpra_failure")
    )[["elapsed"]]
    expect_lt(seconds, 10)
    expect_true(file.exists(file.path(failure$folder, "answers.txt")))
    unlink(failure$folder, recursive = TRUE)
  }
  fails(
    c("echo 'Type option: '", "echo 'Incorrect input = q. Reenter.' >&2", "sleep 60"),
    "an answer that it does not accept.*Type option:"
  )
  fails(c("printf 'END OF FILE !!!' >&2", "sleep 60"), "the end of a file")
  fails("sleep 60", "neither said nor done anything for 1 seconds", patience = 1)
  fails("while :; do echo working; sleep 0.1; done", "longer than 1 seconds", timeout = 1)
  fails("exit 3", "ended with status 3")
  busy <- fake_program("i=0; while [ $i -lt 700000 ]; do i=$((i+1)); done")
  folder <- kelpra:::own_folder(NULL)
  expect_no_error(kelpra:::run_program(folder, "X", busy, patience = 0.3))

  need_program()
  answers <- kelpra:::session_answers(
    small_data(), kelpra:::check_settings(kelpra:::default_settings(), small_data())
  )
  for (lost in c(10, 25, length(answers))) {
    folder <- kelpra:::own_folder(NULL)
    kelpra:::write_inputs(small_data(), folder)
    seconds <- system.time(
      failure <- expect_error(
        kelpra:::run_program(folder, answers[-lost], patience = 1.5), class = "kelpra_failure"
      )
    )
    expect_lt(seconds[["elapsed"]], 10)
    unlink(failure$folder, recursive = TRUE)
  }
})

test_that("progress is read off what the program prints", {
  line <- function(i) sprintf("%40.40s%40s\n", sprintf("Permutation test: %d of 999", i), "")
  expect_identical(kelpra:::progress_step(paste0(line(4), line(17), "Perm")), c(17, 999))
  expect_identical(kelpra:::progress_step("Iteration: 12 of 255, Traits: 3"), c(12, 255))
  expect_null(kelpra:::progress_step("Permutation test: 12 of 9"))
  shown <- capture.output(type = "message", {
    bar <- kelpra:::progress_bar("Test", TRUE)
    Sys.sleep(0.25)
    bar$text(line(500))
    bar$close()
  })
  expect_match(paste(shown, collapse = ""), "Test \\[=+ +\\]  50 %, 0 s left")
})

test_that("the larger P of both null models counts", {
  need_program()
  both <- kelpra_max(dune_data(), iterations = 199)
  alone <- lapply(
    c(taxa = "taxa", sites = "sites"),
    function(null) kelpra(dune_data(), null = null, iterations = 199)$statistics$P
  )
  expect_identical(both$statistics$P_taxa, alone$taxa)
  expect_identical(both$statistics$P, pmax(alone$taxa, alone$sites, na.rm = TRUE))
  expect_identical(
    both$statistics$name[is.na(both$statistics$P_sites)],
    c("ro(BF)", "ro(PT)", "ro(PX)", "ro(PX.T)")
  )
  expect_output(print(both), "29 to 46 %")
})

test_that("nesting goes by names, tails by the measure, and a verdict by what differs", {
  nested <- kelpra:::nesting(c(b = "y", c = "x", a = "x"), letters[1:3])
  expect_identical(nested, c(a = 1L, b = 2L, c = 1L))
  found <- data.frame(
    name = c("r(TE)", "r(XE.T)"), term = c("r-square", "A1"), response = c("T", "Rf")
  )
  tails <- function(...) kelpra:::tails_of(found, list(...))
  expect_identical(tails(measure = "regression", two_tailed = FALSE), 1:2)
  expect_identical(tails(measure = "anova", two_tailed = TRUE), 1:2)
  expect_identical(tails(measure = "rv", two_tailed = TRUE), c(1L, 1L))
  verdicts <- list(
    list("KELPRA v.1", "KELPRA v.2", "different versions"), list("a", NA, "ends early"),
    list("ONE-tailed", "TWO-tailed", "the other two-tailed"),
    list("r(TE)=\t0.123456", "r(TE)=\t0.123457", "last digits"),
    list("r(TE)=\t0.1\tP=\t0.2", "r(TE)=\t0.1\tP=\t0.3", "its P is not"),
    list("r(TE)=\t0.1", "r(TE)=\t0.2", "report was changed since")
  )
  for (v in verdicts) expect_match(kelpra:::likely_reason(v[[1]], v[[2]], NULL, TRUE), v[[3]])
})

test_that("the interval of P is that of the rate among the random arrangements", {
  exact <- function(reached) binom.test(reached, 998)$conf.int[1:2]
  p <- c(1, 154, 999) / 999
  found <- kelpra:::p_interval(p, 999)
  expect_equal(cbind(found$lower, found$upper), rbind(exact(0), exact(153), exact(998)))
})

test_that("a report that was changed is told from one that was not", {
  need_program()
  fit <- kelpra(small_data(), iterations = 19)
  expect_true(kelpra_verify(fit)$same)
  lines <- readLines(fit$report)
  at <- grep("r(XE)=", lines, fixed = TRUE)
  expected <- lines[at]
  cases <- list(
    list(sub("P=\t.*", "P=\t0.001", expected), "its P is not"),
    list(sub("=\t[^\t]*", "=\t0.99", expected), "selection of variables")
  )
  for (case in cases) {
    lines[at] <- case[[1]]
    writeLines(lines, fit$report)
    result <- kelpra_verify(fit$report)
    expect_identical(
      result[c("same", "line", "expected", "found")],
      list(same = FALSE, line = at, expected = case[[1]], found = expected)
    )
    expect_match(result$reason, case[[2]])
  }
  writeLines("7", file.path(fit$folder, "W.txt"))
  expect_match(kelpra_verify(fit)$reason, "changed since: W.txt")
  expect_output(print(result), paste("Different: line", at))
})
