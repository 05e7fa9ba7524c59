# SPDX-License-Identifier: GPL-3.0-or-later
# From files to a folder of results: the work behind the command kelpra-study.
#
# study_main(args)   runs the command; gives its exit status: 0, 1 if the run failed, 2 if an option
#                    or a file is wrong. Nothing but a complete folder is left behind
# study_data(o)      list(x, notes, style): the files of the options as a kelpra_data object, what
#                    was decided on the way, and the separator and decimal sign to write tables with
# write_study(...)   the folder
#
# Errors of kelpra_data() speak of its arguments; here they speak of files, lines and options.

study_options <- matrix(c(
  "traits", "FILE", "traits of the OTUs: a row for each OTU",
  "community", "FILE", "performances: communities by OTUs, or OTUs by communities",
  "env", "FILE", "variables of the communities: a row for each community (optional)",
  "tree", "FILE", "phylogeny: Newick, Nexus, or a square table of distances (optional)",
  "out", "FOLDER", "folder for the results, new or empty (study)",
  "types", "TYPES", "types of OTUs: a number of groups, species, or a FILE (best number)",
  "null", "MODEL", "null model: taxa, sites or both (both)",
  "measure", "NAME", "mantel, procrustes, rv, regression or anova (mantel)",
  "iterations", "NUMBER", "of the permutation test (999)",
  "seed", "NUMBER", "of the random generator (1)",
  "variables", "A,B", "columns of env to use (all)",
  "nominal", "A,B", "columns of traits or env that are codes of groups",
  "ordinal", "A,B", "columns of traits or env that are ranks",
  "rows", "WHICH", "rows of the community table: communities or otus (found by the names)",
  "branch-lengths", "HOW", "grafen: makes branch lengths for a tree without them",
  "title", "TEXT", "title of the page",
  "drop", "", "leave out OTUs and communities that are not in all tables",
  "blank-zero", "", "empty cells of the community table are absences",
  "help", "", "show this",
  "version", "", "show the versions of package and program"
), ncol = 3, byrow = TRUE, dimnames = list(NULL, c("name", "value", "help")))

study_defaults <- list(
  out = "study", null = "both", measure = "mantel", iterations = "999", seed = "1",
  rows = "guess", drop = FALSE, `blank-zero` = FALSE, help = FALSE, version = FALSE
)

study_main <- function(args) {
  plain_locale()
  tryCatch({
    o <- read_options(args)
    if (o$help || !length(args)) cat(study_usage(), sep = "") else if (o$version) {
      cat(study_versions())
    } else study(o, args)
    0L
  },
  kelpra_failure = study_failed, kelpra_no_program = study_failed, kelpra_error = study_refused,
  error = study_failed)
}

study_refused <- function(e) {
  cat("kelpra-study: ", conditionMessage(e), "\nNothing was written.\n", sep = "", file = stderr())
  2L
}

study_failed <- function(e) {
  cat("kelpra-study: ", conditionMessage(e), "\n", sep = "", file = stderr())
  1L
}

# The same order of states and the same letters whatever the user's language.
plain_locale <- function() {
  for (name in c("C.UTF-8", "en_US.UTF-8")) {
    if (isTRUE(l10n_info()[["UTF-8"]])) break
    suppressWarnings(Sys.setlocale("LC_CTYPE", name))
  }
  Sys.setlocale("LC_COLLATE", "C")
  Sys.setlocale("LC_TIME", "C")
}

study <- function(o, args) {
  out <- free_place(o$out)
  program <- kelpra_program()
  given <- in_words_of_files(study_data(o), o)
  for (note in given$notes) cat(note, "\n", sep = "")
  fit <- in_words_of_files(study_run(given$x, o, out), o)
  log <- study_log(o, args, given, fit)
  write_study(fit, out, given$style, log, o$title)
  cat("\n")
  print(fit)
  cat("\nAll is in ", out, "; open ", file.path(out, "study.html"), " in a browser.\n", sep = "")
}

# --- options -----------------------------------------------------------------------------------

read_options <- function(args) {
  o <- study_defaults
  while (length(args)) {
    taken <- read_option(args)
    o[[taken$name]] <- taken$value
    args <- args[-seq_len(taken$used)]
  }
  if (o$help || o$version) return(o)
  for (name in c("traits", "community")) {
    if (is.null(o[[name]])) stop_kelpra("--", name, " FILE is missing; see kelpra-study --help.")
  }
  checked_options(o)
}

read_option <- function(args) {
  name <- sub("^--([^=]*).*", "\\1", args[1])
  row <- match(name, study_options[, "name"])
  if (!startsWith(args[1], "--") || is.na(row)) {
    near <- nearest(name, study_options[, "name"])
    stop_kelpra(
      "there is no option ", quoted(args[1]), if (nzchar(near)) paste0(" (nearest: --", near, ")"),
      "; see kelpra-study --help."
    )
  }
  flag <- study_options[row, "value"] == ""
  if (flag) return(list(name = name, value = TRUE, used = 1))
  if (grepl("=", args[1])) return(list(name = name, value = sub("^[^=]*=", "", args[1]), used = 1))
  if (length(args) < 2 || startsWith(args[2], "--")) {
    stop_kelpra("--", name, " needs a ", study_options[row, "value"], " after it.")
  }
  list(name = name, value = args[2], used = 2)
}

checked_options <- function(o) {
  o$null <- one_of(o$null, c("taxa", "sites", "both"), "--null")
  o$measure <- one_of(o$measure, names(measure_codes), "--measure")
  o$rows <- one_of(o$rows, c("guess", "communities", "otus"), "--rows")
  o$iterations <- whole(option_number(o, "iterations"), "--iterations", 2, 2147483647)
  o$seed <- whole(option_number(o, "seed"), "--seed", 0, 4294967295)
  if (!is.null(o$`branch-lengths`)) one_of(o$`branch-lengths`, "grafen", "--branch-lengths")
  for (name in c("variables", "nominal", "ordinal")) {
    if (!is.null(o[[name]])) o[[name]] <- trimws(strsplit(o[[name]], ",", fixed = TRUE)[[1]])
  }
  o
}

option_number <- function(o, name) {
  value <- suppressWarnings(as.numeric(o[[name]]))
  if (is.na(value)) stop_kelpra("--", name, " must be a number, not ", quoted(o[[name]]), ".")
  value
}

study_usage <- function() {
  option <- trimws(paste0("--", study_options[, "name"], " ", study_options[, "value"]))
  c(
    "Usage: kelpra-study --traits FILE --community FILE [--env FILE] [--tree FILE] [OPTION...]\n\n",
    "From tables of traits, communities and environment to a page with all results. Tables are\n",
    "text (CSV) with names in the first line and the first column; rows are matched by name.\n",
    "Separator, decimal sign and encoding are found out. In brackets: what holds without it.\n\n",
    paste0("  ", format(option), "  ", study_options[, "help"], "\n")
  )
}

study_versions <- function() {
  program <- tryCatch(kelpra_program(), kelpra_error = function(e) "not found")
  paste0("kelpra-study ", utils::packageVersion("kelpra"), ", program: ", program, "\n")
}

free_place <- function(out) {
  out <- sub("(.)/+$", "\\1", out)
  if (file.exists(out) && !dir.exists(out)) stop_kelpra("--out: ", quoted(out), " is a file.")
  if (length(list.files(out, all.files = TRUE, no.. = TRUE))) {
    stop_kelpra(
      "--out: the folder ", quoted(out), " is not empty. Name a new one, or remove this one first."
    )
  }
  above <- dirname(out)
  if (!dir.exists(above)) {
    stop_kelpra("--out: there is no folder ", quoted(above), " to make the new one in.")
  }
  if (file.access(above, 2) != 0) {
    stop_kelpra("--out: nothing can be written in ", quoted(above), ".")
  }
  file.path(normalizePath(above), basename(out))
}

# --- data --------------------------------------------------------------------------------------

study_data <- function(o) {
  read <- list(traits = read_table(o$traits, c(o$nominal, o$ordinal)))
  read$comm <- read_table(o$community, what = "community")
  if (!is.null(o$env)) read$env <- read_table(o$env, c(o$nominal, o$ordinal), "env")
  declared <- with_lines(declared_columns(read, o), read)
  tree <- if (!is.null(o$tree)) read_phylogeny(o$tree, o$`branch-lengths`)
  types <- study_types(o$types, rownames(read$traits$table))
  made <- quietly(with_lines(kelpra_data(
    declared$traits, community_table(read$comm, o), declared$env, tree$phylo, types$types,
    comm_rows = o$rows, drop = o$drop, loose_names = TRUE,
    trait_types = declared$trait_types, env_types = declared$env_types
  ), read))
  x <- made$value
  x$notes <- option_words(c(
    unlist(lapply(unname(read), `[[`, "notes")), tree$notes, types$notes,
    matching_notes(x, read, tree$phylo, o), made$notes
  ), o)
  list(x = x, notes = x$notes, style = style_of(read))
}

# Tables are written as the user writes them: spreadsheets of one country read no other's.
style_of <- function(read) {
  separator <- read$comm$separator
  signs <- setdiff(vapply(read, `[[`, "", "decimal"), "none")
  decimal <- c(signs, if (separator == ";") "," else ".")[1]
  if (decimal == "," && separator == ",") separator <- ";"
  list(separator = if (separator == "") "\t" else separator, decimal = decimal)
}

# Messages and warnings go to the notes, not to the screen.
quietly <- function(code) {
  warned <- character(0)
  noted <- withCallingHandlers(suppressMessages(with_notes(code)), warning = function(w) {
    warned <<- c(warned, paste("warning:", conditionMessage(w)))
    invokeRestart("muffleWarning")
  })
  noted$notes <- c(noted$notes, warned)
  noted
}

community_table <- function(read, o) {
  W <- read$table
  if (o$`blank-zero`) W[is.na(W)] <- 0
  W
}

# --nominal and --ordinal: the columns become what they are said to be, in the table they are in.
declared_columns <- function(read, o) {
  tables <- lapply(read[c("traits", "env")], `[[`, "table")
  known <- unlist(lapply(tables, names))
  absent <- setdiff(c(o$nominal, o$ordinal), known)
  if (length(absent)) {
    files <- paste(basename(c(o$traits, o$env)), collapse = " or ")
    strangers(absent, known, "Columns", paste("in", files), "Write them as the tables do.")
  }
  kinds <- lapply(tables, function(table) {
    kinds <- c(
      stats::setNames(rep("nominal", length(o$nominal)), o$nominal),
      stats::setNames(rep("ordinal", length(o$ordinal)), o$ordinal)
    )
    kinds[names(kinds) %in% names(table)]
  })
  list(
    traits = recoded(tables$traits, kinds$traits, "traits"),
    env = if (!is.null(read$env)) recoded(tables$env, kinds$env, "env"),
    trait_types = kinds$traits, env_types = kinds$env
  )
}

recoded <- function(table, kinds, what) {
  for (name in names(kinds)) {
    column <- table[[name]]
    if (kinds[[name]] == "nominal") table[[name]] <- factor(column) else {
      ranks <- suppressWarnings(as.numeric(sub(",", ".", column, fixed = TRUE)))
      word <- which(is.na(ranks) & !is.na(column))
      if (length(word)) {
        stop_kelpra(
          what, ", row ", quoted(rownames(table)[word[1]]), ", column ", quoted(name), ": ",
          quoted(column[word[1]]), " is no rank. Number the states in their order: 1, 2, ..."
        )
      }
      table[[name]] <- ranks
    }
  }
  table
}

study_types <- function(types, otus) {
  if (is.null(types) || types == "species") return(list(types = types))
  if (grepl("^[0-9]+$", types) && !file.exists(types)) return(list(types = as.numeric(types)))
  if (!file.exists(types)) {
    stop_kelpra("--types: ", quoted(types), " is neither a number, nor 'species', nor a file.")
  }
  read <- read_table(types, what = "types")
  column <- read$table[[1]]
  names(column) <- loosen(rownames(read$table), otus)
  notes <- paste0(read$notes[1], "; types are those of column ", quoted(names(read$table)[1]))
  list(types = column, notes = notes)
}

matching_notes <- function(x, read, tree, o) {
  in_rows <- sum(loosen(rownames(read$comm$table), rownames(x$B)) %in% rownames(x$B))
  turned <- o$rows == "otus" || (o$rows == "guess" && in_rows == nrow(x$B))
  names <- c(unlist(dimnames(read$comm$table)), rownames(tree), tree_tips(tree))
  loose <- loosen(names, c(rownames(x$B), rownames(x$W)))
  changed <- names != loose
  zeros <- if (o$`blank-zero`) sum(is.na(read$comm$table)) else 0
  c(
    paste0(
      basename(o$community), ": rows are ", if (turned) "OTUs" else "communities",
      ", columns are ", if (turned) "communities" else "OTUs"
    ),
    if (zeros) paste0(basename(o$community), ": ", zeros, " cells were empty and are absences"),
    paste0("types of OTUs: ", length(x$types$labels), ", ", x$types$from),
    if (any(changed)) paste0(
      "names matched though not alike: ",
      listed(paste(quoted(names[changed]), "with", quoted(loose[changed])), Inf)
    ),
    paste0(
      "matched by name: ", nrow(x$W), " communities and ", ncol(x$W), " OTUs in the order of ",
      basename(o$traits), if (!is.null(o$env)) paste(" and", basename(o$env))
    )
  )
}

tree_tips <- function(tree) if (inherits(tree, "phylo")) tree$tip.label

# --- errors ------------------------------------------------------------------------------------

# Adds the line of the file to an error that names a table and a row of it. Rows of comm are
# communities, in the file they may be columns.
with_lines <- function(code, read) {
  tryCatch(code, kelpra_error = function(e) {
    text <- conditionMessage(e)
    place <- "^(traits|comm|env), row '(.*?)', column '(.*?)':"
    parts <- regmatches(text, regexec(place, text, perl = TRUE))[[1]]
    lines <- if (length(parts)) read[[parts[2]]]$lines
    row <- c(intersect(parts[3:4], names(lines)), NA)[1]
    if (!is.na(row)) {
      column <- setdiff(parts[3:4], row)
      e$message <- paste0(
        parts[2], ", line ", lines[[row]], " (row ", quoted(row), "), column ", quoted(column), ":",
        substring(text, nchar(parts[1]) + 1)
      )
    }
    stop(e)
  })
}

in_words_of_files <- function(code, o) {
  tryCatch(code, kelpra_failure = stop, kelpra_error = function(e) {
    e$message <- option_words(conditionMessage(e), o)
    stop(e)
  })
}

option_advice <- c(
  "set loose_names = TRUE (case, blank, underscore, dot alike), or drop = TRUE to leave them out" =
    "or add --drop to leave them out",
  "set loose_names = TRUE, or choose OTUs by the argument otus" =
    "or drop their rows and columns from the tables",
  " is negative." = " is negative. Correct it.",
  "or set drop = TRUE" = "or add --drop",
  "Say comm_rows = \"communities\" or comm_rows = \"otus\"" =
    "Add --rows communities or --rows otus",
  "; use NA" = "; leave the cell empty",
  "Give the argument types to choose otherwise" = "--types chooses otherwise",
  "ape::compute.brlen makes some" = "--branch-lengths grafen makes some",
  "measure = \"mantel\" works" = "--measure mantel works",
  "NA is missing: write 0 for an absence, or leave the community or OTU out" =
    "the cell is empty: write 0 for an absence, or add --blank-zero if all empty cells are so",
  "must be one of 'binary', 'nominal', 'quantitative' and 'ordinal'" = "is not known"
)

option_words <- function(text, o) {
  for (i in seq_along(option_advice)) {
    text <- gsub(names(option_advice)[i], option_advice[[i]], text, fixed = TRUE)
  }
  files <- c(traits = o$traits, comm = o$community, env = o$env, phylo = o$tree)
  for (what in names(files)) {
    place <- paste0("(^|\\n| of | in |\\bboth | and |warning: )", what, "(?=[,:. ]|$)(?! \\()")
    text <- gsub(place, paste0("\\1", basename(files[[what]])), text, perl = TRUE)
  }
  text <- gsub("in phylo \\((tree|matrix)\\)", paste("in", basename(paste0("", o$tree))), text)
  sub("^types:", "--types:", sub("^measure ", "--measure ", text))
}

# --- the run and its folder ----------------------------------------------------------------------

study_run <- function(x, o, out) {
  common <- list(
    x = x, measure = o$measure, iterations = o$iterations, seed = o$seed, variables = o$variables,
    progress = isatty(stderr())
  )
  folder <- tempfile("kelpra-study-")
  dir.create(folder)
  if (o$null == "both") return(do.call(kelpra_max, c(common, folder = folder)))
  do.call(kelpra, c(common, null = o$null, folder = file.path(folder, o$null)))
}

study_fits <- function(fit) {
  if (inherits(fit, "kelpra_max")) fit$fits else stats::setNames(list(fit), fit$settings$null)
}

study_log <- function(o, args, given, fit) {
  first <- study_fits(fit)[[1]]
  files <- unlist(o[c("traits", "community", "env", "tree")])
  if (!is.null(o$types) && file.exists(o$types)) files <- c(files, types = o$types)
  c(
    paste("kelpra-study", paste(shQuote(args), collapse = " ")),
    paste("on", format(Sys.time(), "%Y-%m-%d %H:%M:%S %Z"), "in", getwd()),
    paste0(
      "program ", first$versions$program, " (", first$versions$path, "), package ",
      first$versions$package, ", R ", first$versions$R
    ),
    "", "Files (MD5):", paste0("  ", tools::md5sum(files), "  ", files),
    "", "Decisions:", paste0("  ", given$notes),
    "", "Settings:", paste0("  ", settings_lines(first$settings, names(study_fits(fit)))),
    "", "Written:", paste0("  ", study_contents[, 1], "  ", study_contents[, 2])
  )
}

study_contents <- cbind(
  format(c(
    "study.html", "log.txt", "statistics.csv", "diversity.csv", "types.csv", "tables/",
    "run/MODEL/"
  )),
  c(
    "the page", "this", "statistics with their P values", "diversity of each community",
    "type of each OTU", "the matrices, by the letters of the page",
    "what the program read (B.txt, W.txt ..., answers.txt) and its report, kelpraPrinda.txt"
  )
)

# Built beside its place and renamed: a folder of that name is complete.
write_study <- function(fit, out, style, log, title) {
  beside <- tempfile(paste0(".", basename(out), "-"), dirname(out))
  on.exit(unlink(beside, recursive = TRUE))
  for (folder in file.path(beside, c("tables", "run"))) dir.create(folder, recursive = TRUE)
  fit <- copy_runs(fit, beside)
  write_tables(fit, beside, style)
  write_lines(enc2utf8(log), file.path(beside, "log.txt"))
  kelpra_report(fit, file.path(beside, "study.html"), title = title)
  if (dir.exists(out)) unlink(out, recursive = TRUE)
  if (!file.rename(beside, out)) stop("the folder ", out, " cannot be made")
}

# The folders of the runs move into the study, and the fits name them as they lie there.
copy_runs <- function(fit, beside) {
  move <- function(one) {
    model <- one$settings$null
    copied <- file.copy(one$folder, file.path(beside, "run"), recursive = TRUE)
    if (!all(copied)) stop("the files of the run cannot be copied; is the disk full?")
    unlink(one$folder, recursive = TRUE)
    one$folder <- file.path("run", model)
    one$report <- file.path(one$folder, basename(one$report))
    one
  }
  if (!inherits(fit, "kelpra_max")) return(move(fit))
  fit$fits <- lapply(fit$fits, move)
  fit
}

write_tables <- function(fit, folder, style) {
  first <- study_fits(fit)[[1]]
  table <- function(x, name, rows = "") write_csv(x, file.path(folder, name), style, rows)
  table(fit$statistics, "statistics.csv", rows = NULL)
  table(first$diversity, "diversity.csv", rows = "community")
  table(data.frame(type = first$types$membership), "types.csv", rows = "OTU")
  for (name in setdiff(names(first$matrices), c("W", "B", "E", "F"))) {
    table(first$matrices[[name]], file.path("tables", paste0(name, ".csv")))
  }
}

# rows: a title for the column of names, NULL for none.
write_csv <- function(x, path, style, rows = "") {
  if (is.null(x)) return(invisible())
  connection <- file(path, "w", encoding = "UTF-8")
  on.exit(close(connection))
  x <- as.data.frame(x)
  if (!is.null(rows)) x <- cbind(stats::setNames(data.frame(rownames(x)), rows), x)
  utils::write.table(
    x, connection, sep = style$separator, dec = style$decimal, row.names = FALSE,
    qmethod = "double"
  )
}
