# SPDX-License-Identifier: GPL-3.0-or-later
# The command, as a user starts it: arguments in, a folder and a status out.

in_folder <- function(code) {
  old <- setwd(tempfile("study-") |> (\(path) { dir.create(path); path })())
  on.exit(setwd(old))
  force(code)
}

put <- function(name, lines, encoding = "UTF-8", mark = NULL, end = "\n") {
  text <- paste0(paste(lines, collapse = end), end)
  writeBin(c(as.raw(mark), iconv(enc2utf8(text), "UTF-8", encoding, toRaw = TRUE)[[1]]), name)
}

tables <- list(
  t.csv = c(
    "sp;height;woody", "Poa annua;2,5;TRUE", "Rosa canina;5;FALSE", "Salix alba;9,1;TRUE",
    "Urtica dioica;;FALSE"
  ),
  c.csv = c(
    "plot;Poa annua;Rosa canina;Salix alba;Urtica dioica", "p1;3;1;0;0", "p2;1;2;0;1",
    "p3;0;2;1;0", "p4;0;0;4;2"
  ),
  e.csv = c("plot;water;shade", "p1;1,5;2", "p2;2;9", "p3;4;3", "p4;7;4")
)

put_tables <- function(...) {
  changed <- list(...)
  files <- replace(tables, names(changed), changed)
  for (name in names(files)) put(name, files[[name]])
}

# Status, what stood on the screen and among the errors.
command <- function(...) {
  errors <- tempfile()
  connection <- file(errors, "w")
  sink(connection, type = "message")
  on.exit(if (sink.number(type = "message") != 2) sink(type = "message"))
  screen <- capture.output(status <- kelpra:::study_main(c(...)))
  sink(type = "message")
  close(connection)
  list(status = status, screen = screen, errors = paste(readLines(errors), collapse = "\n"))
}

small_study <- function(...) {
  command(
    "--traits", "t.csv", "--community", "c.csv", "--env", "e.csv", "--types", "2", "--out", "out",
    "--iterations", "19", ...
  )
}

test_that("a table is read alike from every encoding, separator and decimal sign", {
  expected <- data.frame(
    height = c(2.5, 5, NA, -1), form = c("h\u00f6her", "tief", "tief", NA),
    wet = c(TRUE, NA, FALSE, TRUE), row.names = c("Poa \u00e1nnua, L.", "b", "c", "10")
  )
  rows <- function(sep, dec) {
    cells <- rbind(
      c("sp", "height", "form", "wet"), c("\"Poa \u00e1nnua, L.\"", "2.5", "h\u00f6her", "TRUE"),
      c("b", "5.0", "\"tief\"", "NA"), c(" c ", "", "tief", "false"),
      c("10", "\u22121", "-", "True")
    )
    apply(sub(".", dec, cells, fixed = TRUE), 1, paste, collapse = sep) |>
      sub(pattern = paste0("Poa \u00e1nnua, L", dec, "?"), replacement = "Poa \u00e1nnua, L") |>
      sub(pattern = "nua, L[.]?\"", replacement = "nua, L.\"")
  }
  headless <- function(lines) sub("^sp.", "", lines)
  utf8 <- c(0xef, 0xbb, 0xbf)
  in_folder({
    cases <- list(
      list(rows(",", ".")), list(rows(";", ","), mark = utf8, end = "\r\n"),
      list(rows("\t", ","), "UTF-16LE", c(0xff, 0xfe)), list(rows(";", "."), "UTF-16BE"),
      list(c("sep=;", rows(";", ","), ";;;", ""), end = "\r"),
      list(headless(rows("\t", "."))), list(paste0(rows(";", ","), ";")),
      list(sub("sp", "\"sp\nof plants\"", rows(",", ".")))
    )
    for (case in cases) {
      do.call(put, c("t.csv", case))
      expect_identical(kelpra:::read_table("t.csv")$table, expected)
    }
    put("t.csv", gsub("\u2212", "-", rows(",", ".")), "CP1252")
    expect_identical(kelpra:::read_table("t.csv")$table, expected)
  })
})

test_that("a wrong file is told with its line, and nothing is written", {
  line <- function(file, i, text) stats::setNames(list(replace(tables[[file]], i, text)), file)
  tree <- function(text) list(f.nwk = text)
  wrong <- list(
    list(line("c.csv", 4, "p3;0;x;1;0"), "c.csv, line 4 \\(row 'p3'\\), column 'Rosa canina': 'x'"),
    list(line("c.csv", 4, "p3;0;2;;0"), "c.csv, line 4 \\(row 'p3'\\), .*--blank-zero"),
    list(line("c.csv", 2, "p1;3;-1;0;0"), "line 2 \\(row 'p1'\\), column 'Rosa canina': -1 is neg"),
    list(
      list(c.csv = c("sp,p1,p2,p3,p4", "Poa annua,3,1,0,0", "Rosa canina,1,-2,2,0",
        "Salix alba,0,0,1,4", "Urtica dioica,0,1,0,2")),
      "c.csv, line 3 \\(row 'Rosa canina'\\), column 'p2': -2"
    ),
    list(line("c.csv", 3, "p2;1;2;0"), "line 3 \\(row 'p2'\\): it has 4 cells, the other lines"),
    list(line("c.csv", 3, "p2;0;0;0;0"), "c.csv: communities without OTUs: 'p2'.*--drop"),
    list(line("c.csv", 1, "plot;Poa anua;Rosa canina;Salix alba;Urtica dioica"),
      "OTUs of t.csv not found in c.csv:\n  'Poa annua' \\(nearest: 'Poa anua'\\)"),
    list(line("c.csv", 1, "plot;Poa annua;Rosa canina"), "line 1: 3 names .* 5 cells"),
    list(line("t.csv", 3, "Rosa canina;5.2;FALSE"), "line 3 .*'5.2' has a decimal point, other"),
    list(line("t.csv", 3, "Rosa canina;1.005,2;FALSE"), "'1.005,2' has a separator of thousands"),
    list(line("t.csv", 3, "Rosa canina;5 cm;FALSE"), "'5 cm' is no number.*--nominal 'height'"),
    list(line("t.csv", 3, "Rosa canina;-999;FALSE"), "t.csv, line 3 .*-999.*leave the cell empty"),
    list(line("t.csv", 3, "Poa annua;5;FALSE"), "line 3: the row 'Poa annua' is .* on line 2"),
    list(line("t.csv", 3, "\"Rosa canina;5;FALSE"), "line 3: a quotation mark is not closed"),
    list(line("t.csv", 3, ";5;FALSE"), "line 3: the row has no name"),
    list(line("t.csv", 1, "sp;height;height"), "line 1, column 3: the name 'height' is there"),
    list(list(t.csv = ""), "t.csv is empty"), list(list(t.csv = "PK\003\004"), "is a spreadsheet"),
    list(list(t.csv = c("one", "two")), "no table is seen"),
    list(list(), "t.csv, line 2 .*'TRUE' is no rank", c("--ordinal", "woody")),
    list(list(), "--measure 'anova' takes each variable as groups", c("--measure", "anova")),
    list(list(), "'watr' \\(nearest: 'water'\\)", c("--variables", "watr")),
    list(list(), "'hight' \\(nearest: 'height'\\)", c("--nominal", "hight")),
    list(list(), "neither a number, nor 'species', nor a file", c("--types", "ty.csv")),
    list(list(), "no option '--iteration' \\(nearest: --iterations\\)", c("--iteration", "9")),
    list(list(), "--seed needs a NUMBER", "--seed"),
    list(list(), "--seed must be a number, not 'x'", c("--seed", "x")),
    list(tree("((Poa annua:1,b:1):1;"), "f.nwk: the tree cannot be read", c("--tree", "f.nwk")),
    list(tree("((Poa_annua:1,Rosa_canina:1):1,(Salix_alba:1,Urtica:1):1);"),
      "OTUs not found in f.nwk:\n  'Urtica dioica'", c("--tree", "f.nwk")),
    list(tree("((Poa_annua,Rosa_canina),(Salix_alba,Urtica_dioica));"),
      "f.nwk: the tree has no branch lengths; --branch-lengths grafen", c("--tree", "f.nwk"))
  )
  old <- options(kelpra.program = fake_program("exit 0"))
  on.exit(options(old))
  for (case in wrong) in_folder({
    do.call(put_tables, case[[1]])
    before <- list.files(all.files = TRUE)
    said <- do.call(small_study, as.list(c(character(0), if (length(case) > 2) case[[3]])))
    expect_identical(said$status, 2L, info = case[[2]])
    expect_match(said$errors, case[[2]])
    expect_no_match(said$errors, "= TRUE|argument|\\bNA\\b|\\bcomm\\b")
    expect_identical(list.files(all.files = TRUE), before)
  })
})

test_that("a study is the analysis of R, complete, and what fails leaves nothing behind", {
  need_program()
  table <- function(name) system.file("extdata", name, package = "kelpra")
  aravo <- vapply(c("aravo_traits.csv", "aravo_community.csv", "aravo_environment.csv"), table, "")
  read <- lapply(aravo, read.csv, row.names = 1, check.names = FALSE)
  both <- kelpra_max(kelpra_data(read[[1]], read[[2]], read[[3]], types = 8), iterations = 19)
  in_folder({
    write.csv2(t(read[[2]]), "community.csv")
    start <- c("--traits", aravo[1], "--community", "community.csv", "--env", aravo[3])
    said <- command(start, "--types", "8", "--iterations", "19", "--out", "out/")
    expect_identical(said[c("status", "errors")], list(status = 0L, errors = ""))
    statistics <- read.csv("out/statistics.csv", sep = ";")
    expect_equal(statistics, both$statistics, tolerance = 1e-12)
    expect_equal(
      as.matrix(read.csv("out/tables/T.csv", sep = ";", row.names = 1)), both$fits$taxa$matrices$T
    )
    expect_setequal(
      list.files("out", all.files = TRUE, no.. = TRUE),
      c("study.html", "log.txt", "statistics.csv", "diversity.csv", "types.csv", "tables", "run")
    )
    for (null in c("taxa", "sites")) {
      expect_true(kelpra_verify(file.path("out/run", null, "kelpraPrinda.txt"))$same)
    }
    log <- paste(readLines("out/log.txt"), collapse = "\n")
    said <- c("separated by semicolon", "rows are OTUs", "column 'Form': 5 states.*: concave")
    for (text in said) expect_match(log, text)
    expect_match(command(start, "--out", "out")$errors, "'out' is not empty")
    old <- options(kelpra.program = fake_program("exit 3"))
    on.exit(options(old))
    failed <- command(start, "--out", "other")
    expect_identical(failed$status, 1L)
    expect_match(failed$errors, "ended with status 3")
    expect_setequal(list.files(all.files = TRUE, no.. = TRUE), c("community.csv", "out"))
  })
})

test_that("options say what tables cannot", {
  need_program()
  in_folder({
    put_tables(
      c.csv = c("x;p1;p2;p3;p4", "poa_annua;3;1;;", "Rosa canina;1;2;2;", "Urtica dioica;;1;;2"),
      ty.csv = c("sp,type", "Poa annua,a", "Rosa canina,b", "Urtica dioica,b", "Salix alba,a"),
      f.nwk = "((Poa_annua,Rosa_canina),(Salix_alba,Urtica_dioica));"
    )
    said <- small_study(
      "--blank-zero", "--drop", "--types=ty.csv", "--tree", "f.nwk", "--branch-lengths", "grafen",
      "--null", "taxa", "--ordinal", "height", "--nominal", "shade", "--title", "A < B"
    )
    expect_identical(said$status, 0L, info = said$errors)
    log <- paste(readLines("out/log.txt"), collapse = "\n")
    for (text in c(
      "5 cells were empty and are absences", "'poa_annua' with 'Poa annua'",
      "dropped: 'Salix alba'", "branch lengths after Grafen", "1 of 4 tips are not in t.csv"
    )) expect_match(log, text)
    expect_match(readLines("out/log.txt"), "types of OTUs: 2, given", all = FALSE)
    expect_identical(list.files("out/run"), "taxa")
    expect_identical(
      read.csv2("out/types.csv")$type, c("a", "b", "b")
    )
    expect_type(read.csv2("out/tables/X.csv")$a, "double")
    page <- paste(readLines("out/study.html"), collapse = "\n")
    expect_match(page, "<title>A &lt; B</title>")
  })
})

test_that("a page holds all its parts and says what the fit says", {
  need_program()
  fits <- list(
    kelpra(dune_data(), iterations = 99), kelpra(dune_data("Manage"), "anova", iterations = 19),
    kelpra_max(dune_data(), "regression", iterations = 19),
    kelpra(small_data(env = NULL), tests = FALSE)
  )
  for (fit in fits) {
    path <- tempfile(fileext = ".html")
    expect_no_warning(kelpra_report(fit, path, "Dunes & dykes"))
    page <- readLines(path)
    text <- paste(page, collapse = "\n")
    expect_no_match(text, "<script|<link|<img|src=|url\\((?!#)|href=.(?!#)", perl = TRUE)
    ids <- regmatches(text, gregexpr("\\bid=['\"][^'\"]*", text))[[1]]
    expect_identical(anyDuplicated(ids), 0L)
    expect_match(text, "<h1>Dunes &amp; dykes</h1>")
    for (name in fit$statistics$name) expect_match(text, kelpra:::escaped(name), fixed = TRUE)
    tags <- regmatches(text, gregexpr("</?(table|ul|p|figure|svg|details|pre|tr|td)\\b", text))[[1]]
    counts <- table(sub("/", "", tags), startsWith(tags, "</"))
    expect_identical(counts[, 1], counts[, 2])
    expect_identical(counts[["<svg", 1]], length(kelpra:::picture_kinds(fit)))
  }
  row <- data.frame(name = "r(TE)", value = -0.2, P = c(0.001, 0.048, 0.3), iterations = 999)
  row <- cbind(row, kelpra:::p_interval(row$P, 999))
  said <- vapply(1:3, function(i) kelpra:::answer_of(row[i, ]), "")
  expect_match(said[1], "-0.2, the opposite, P = 0.001: rarely")
  expect_match(said[2], "P = 0.048: near the limit")
  expect_match(said[3], "P = 0.3: not told from chance")
  expect_error(kelpra_report(dune_data(), tempfile()), "made by kelpra\\(\\)")
})
