# SPDX-License-Identifier: GPL-3.0-or-later
# Tables and trees in text files as people save them: whatever encoding, separator and decimal sign.
#
# read_text(path)             list(lines, encoding, bom): lines in UTF-8
# read_table(path, words)     list(table, lines, notes, separator, decimal): a data frame with row
#                             names, its columns numeric, logical or character; lines: that of each
#                             row in the file; notes: what was found and decided. words: names of
#                             columns that stay text
# read_phylogeny(path, ...)   list(phylo, notes): a tree, or a square matrix
#
# What cannot be read is an error of class "kelpra_error": file, line, row, column, what to do.

read_text <- function(path) {
  if (!file.exists(path) || dir.exists(path)) stop_kelpra("There is no file ", quoted(path), ".")
  bytes <- readBin(path, "raw", file.size(path))
  encoding <- encoding_of(bytes, path)
  text <- iconv(list(utils::tail(bytes, length(bytes) - encoding$bom)), encoding$name, "UTF-8")
  if (is.na(text)) {
    stop_kelpra(path, ": its text is not valid ", encoding$name, ". Save it as UTF-8.")
  }
  lines <- strsplit(gsub("\r\n?", "\n", text), "\n", fixed = TRUE)[[1]]
  lines <- gsub("\u2212", "-", gsub("[\u00a0\u202f]", " ", lines))
  if (!any(grepl("[^ \t]", lines))) stop_kelpra(path, " is empty.")
  list(lines = lines, encoding = encoding$name, bom = encoding$bom > 0)
}

# A spreadsheet of the last decades saves UTF-8 with or without a mark, UTF-16, or Windows-1252.
encoding_of <- function(bytes, path) {
  begins <- function(...) identical(utils::head(bytes, ...length()), as.raw(c(...)))
  found <- function(name, bom = 0) list(name = name, bom = bom)
  if (begins(0x50, 0x4b, 0x03, 0x04) || begins(0xd0, 0xcf, 0x11, 0xe0)) {
    stop_kelpra(path, " is a spreadsheet. Save the sheet as CSV (text) and give that file.")
  }
  if (begins(0xef, 0xbb, 0xbf)) return(found("UTF-8", 3))
  if (begins(0xff, 0xfe)) return(found("UTF-16LE", 2))
  if (begins(0xfe, 0xff)) return(found("UTF-16BE", 2))
  zero <- which(bytes == 0)
  if (length(zero) > length(bytes) / 4) return(found(if (zero[1] == 1) "UTF-16BE" else "UTF-16LE"))
  if (length(zero)) stop_kelpra(path, " is no text file. Save the table as CSV (text).")
  if (validUTF8(rawToChar(bytes))) return(found(if (all(bytes < 0x80)) "ASCII" else "UTF-8"))
  undefined <- as.raw(c(0x81, 0x8d, 0x8f, 0x90, 0x9d))
  found(if (any(bytes %in% undefined)) "ISO-8859-1" else "CP1252")
}

# --- cells -------------------------------------------------------------------------------------

separators <- c(tab = "\t", semicolon = ";", comma = ",", bar = "|", blanks = "")
unknown_words <- c("", "NA", "N/A", "#N/A", "NaN", "NULL", ".", "-", "?")

read_table <- function(path, words = character(0), what = "traits") {
  text <- read_text(path)
  rows <- records(text$lines, path)
  separator <- separator_of(rows$text, path)
  cells <- rectangle(lapply(rows$text, cells_of, separator), rows$lines, path)
  table <- named_cells(cells, path)
  decimal <- decimal_of(table, path)
  typed <- typed_columns(table, decimal, words, what, path)
  notes <- c(
    paste0(
      basename(path), ": ", nrow(typed), " rows, ", ncol(typed), " columns; encoding ",
      text$encoding, if (text$bom) " with a byte-order mark", ", separated by ",
      names(separators)[separators == separator], ", decimal ",
      c("." = "point", "," = "comma", "none" = "sign not used")[[decimal]]
    ),
    cells$notes, decimal_note(table, decimal, path), column_notes(typed, table, words, what, path)
  )
  list(
    table = typed, lines = table$lines, notes = notes, separator = separator, decimal = decimal
  )
}

# A quoted cell may run over several lines; a line "sep=;" is for spreadsheets only.
records <- function(lines, path) {
  if (grepl("^sep=.?$", lines[1])) lines[1] <- ""
  quotes <- lengths(regmatches(lines, gregexpr("\"", lines, fixed = TRUE)))
  open <- cumsum(quotes) %% 2
  if (utils::tail(open, 1) == 1) {
    stop_kelpra(
      path, ", line ", max(which(quotes %% 2 == 1)), ": a quotation mark is not closed. ",
      "Close or remove it."
    )
  }
  record <- cumsum(c(0, open[-length(open)]) == 0)
  text <- vapply(split(lines, record), paste, "", collapse = " ")
  first <- which(!duplicated(record))
  filled <- grepl("[^ \t;,|\"]", text)
  list(text = unname(text[filled]), lines = first[filled])
}

cells_of <- function(text, separator) {
  scan(
    text = text, what = "", sep = separator, quote = "\"", quiet = TRUE, strip.white = TRUE,
    na.strings = character(0), comment.char = "", blank.lines.skip = FALSE, encoding = "UTF-8"
  )
}

# The separator that gives most lines the same number of cells; the semicolon before the comma,
# which may be a decimal sign.
separator_of <- function(records, path) {
  some <- utils::head(records, 60)
  even <- vapply(separators, function(separator) {
    widths <- lengths(lapply(some[-1], cells_of, separator))
    usual <- as.numeric(names(which.max(table(widths))))
    first <- length(cells_of(some[1], separator))
    if (!length(usual) || usual < 2 || first < 2) return(0)
    mean(widths == usual) - 0.2 * (!first %in% c(usual, usual - 1))
  }, 0)
  if (max(even) > 0) return(separators[[which.max(even)]])
  stop_kelpra(
    path, ": no table is seen in it. It needs a first line with the names of the columns, and ",
    "then a line for each row: its name and its cells, with a comma, semicolon or tab between."
  )
}

# All rows as wide as the header, or one wider: names of rows need no title.
rectangle <- function(rows, lines, path) {
  width <- as.numeric(names(which.max(table(lengths(rows[-1])))))
  rows <- lapply(rows, without_tail, width)
  widths <- lengths(rows)
  odd <- which(widths[-1] != width)
  if (length(odd)) {
    stop_kelpra(
      path, ", line ", lines[odd[1] + 1], " (row ", quoted(rows[[odd[1] + 1]][1]), "): it has ",
      widths[odd[1] + 1], " cells, the other lines have ", width,
      ". Look for a cell too many or too few, a decimal comma in a table that commas separate, or ",
      "a separator inside a name: such a name needs quotation marks."
    )
  }
  if (widths[1] == width - 1) rows[[1]] <- c("", rows[[1]])
  if (length(rows[[1]]) != width) {
    stop_kelpra(
      path, ", line ", lines[1], ": ", widths[1], " names of columns for ", width,
      " cells in the lines below. Each column needs a name, and a table with decimal commas ",
      "another separator."
    )
  }
  without_blank_columns(list(
    header = rows[[1]], body = do.call(rbind, rows[-1]), lines = lines[-1], header_line = lines[1]
  ), path)
}

# Spreadsheets save empty cells and columns that were once touched.
without_tail <- function(row, width) {
  if (length(row) > width && all(row[-seq_len(width)] == "")) row[seq_len(width)] else row
}

without_blank_columns <- function(cells, path) {
  blank <- cells$header == "" & apply(cells$body == "", 2, all)
  blank[1] <- FALSE
  cells$notes <- if (any(blank)) paste0(
    basename(path), ": columns without a name and a cell were left out: ", sum(blank)
  )
  cells$header <- cells$header[!blank]
  cells$body <- cells$body[, !blank, drop = FALSE]
  cells
}

# The first column holds the names of the rows.
named_cells <- function(cells, path) {
  tidy <- function(x) gsub(" +", " ", trimws(x))
  rows <- tidy(cells$body[, 1])
  columns <- tidy(cells$header[-1])
  place <- function(i) paste0(path, ", line ", cells$lines[i])
  empty <- which(rows == "")
  if (length(empty)) stop_kelpra(place(empty[1]), ": the row has no name in the first column.")
  twice <- which(duplicated(rows))
  if (length(twice)) {
    stop_kelpra(
      place(twice[1]), ": the row ", quoted(rows[twice[1]]), " is there already on line ",
      cells$lines[match(rows[twice[1]], rows)], ". Give each row a name of its own, or add them up."
    )
  }
  wrong <- which(columns == "" | duplicated(columns))
  if (length(wrong)) {
    stop_kelpra(
      path, ", line ", cells$header_line, ", column ", wrong[1] + 1, ": ",
      if (columns[wrong[1]] == "") "it has no name" else paste(
        "the name", quoted(columns[wrong[1]]), "is there already"
      ), ". Give each column a name of its own."
    )
  }
  body <- cells$body[, -1, drop = FALSE]
  body[body %in% unknown_words] <- NA
  dimnames(body) <- list(rows, columns)
  list(text = body, lines = stats::setNames(cells$lines, rows))
}

# --- numbers -----------------------------------------------------------------------------------

digits_pattern <- function(sign) {
  paste0("^[-+]?([0-9]+", sign, "?[0-9]*|", sign, "[0-9]+)([eE][-+]?[0-9]+)?$")
}

decimal_of <- function(table, path) {
  with_sign <- function(sign) {
    !is.na(table$text) & grepl(sign, table$text, fixed = TRUE) &
      grepl(digits_pattern(paste0("[", sign, "]")), table$text)
  }
  found <- lapply(c("," = ",", "." = "."), with_sign)
  both <- !is.na(table$text) & grepl("[.].*,|,.*[.]", table$text) &
    grepl("^[-+]?[0-9]{1,3}([.,][0-9]{3})*[.,][0-9]+$", table$text)
  if (any(both)) {
    stop_kelpra(
      cell_place(table, both, path), "has a separator of thousands. ",
      "Save the numbers without it."
    )
  }
  used <- vapply(found, any, NA)
  if (!any(used)) return("none")
  if (!all(used)) return(names(found)[used])
  rare <- names(which.min(vapply(found, sum, 0L)))
  stop_kelpra(
    cell_place(table, found[[rare]], path), "has a decimal ",
    c("," = "comma", "." = "point")[[rare]], ", other cells have a ",
    c("," = "point", "." = "comma")[[rare]], ". Use one of them in the whole file."
  )
}

# "file, line 4 (row 'Poa'), column 'Height': '3,5' " of the first of the cells.
cell_place <- function(table, bad, path) {
  at <- which(bad & !is.na(bad), arr.ind = TRUE)
  at <- at[order(at[, 1]), , drop = FALSE][1, ]
  paste0(
    path, ", line ", table$lines[at[1]], " (row ", quoted(rownames(table$text)[at[1]]),
    "), column ", quoted(colnames(table$text)[at[2]]), ": ", quoted(table$text[at[1], at[2]]), " "
  )
}

# 1,234 may be a thousand and more.
decimal_note <- function(table, decimal, path) {
  if (decimal == "none") return(NULL)
  numbers <- table$text[grepl(decimal, table$text, fixed = TRUE)]
  if (!all(grepl(paste0("^[-+]?[1-9][0-9]{0,2}[", decimal, "][0-9]{3}$"), numbers))) return(NULL)
  paste0(
    basename(path), ": ", quoted(numbers[1]), " was read as a number with three decimals; if it ",
    "is more than a thousand, save the table without separators of thousands"
  )
}

truths <- c(TRUE, TRUE, TRUE, FALSE, FALSE, FALSE) |>
  stats::setNames(c("TRUE", "True", "true", "FALSE", "False", "false"))

typed_columns <- function(table, decimal, words, what, path) {
  numeric <- table$text
  numeric[] <- grepl(digits_pattern("[.,]"), table$text) | is.na(table$text)
  columns <- lapply(colnames(table$text), function(name) {
    text <- table$text[, name]
    if (name %in% words) return(text)
    is_number <- as.logical(numeric[, name])
    if (all(is_number)) return(as.numeric(sub(",", ".", text, fixed = TRUE)))
    if (all(text %in% c(names(truths), NA))) return(unname(truths[text]))
    if (what != "community" && mean(is_number[!is.na(text)]) <= 0.5) return(text)
    bad <- array(FALSE, dim(table$text))
    bad[!is_number, match(name, colnames(table$text))] <- TRUE
    stop_kelpra(cell_place(table, bad, path), "is no number. ", number_advice(what, name))
  })
  data.frame(
    stats::setNames(columns, colnames(table$text)), row.names = rownames(table$text),
    check.names = FALSE, stringsAsFactors = FALSE
  )
}

number_advice <- function(what, name) {
  if (what == "community") {
    return("The community table holds numbers only: take columns with words out of it.")
  }
  paste0(
    "Correct it; or empty the cell if the value is not known; or, if the column holds words, add ",
    "--nominal ", shQuote(name), "."
  )
}

column_notes <- function(typed, table, words, what, path) {
  if (!what %in% c("traits", "env")) return(NULL)
  vapply(names(typed), function(name) {
    v <- typed[[name]]
    states <- sort(unique(v[!is.na(v)]))
    form <- if (is.numeric(v)) {
      whole <- length(states) %in% 2:6 && 2 * length(states) < length(v) &&
        all(states == round(states))
      paste0(
        "numbers from ", min(states, Inf), " to ", max(states, -Inf), if (whole) paste0(
          "; if these ", length(states), " whole numbers are codes of groups, add --nominal, ",
          "if ranks, --ordinal ", shQuote(name)
        )
      )
    } else paste0(
      length(states), " states", if (what == "env") " (1, 2 ... in pictures)", ": ",
      listed(states, 12)
    )
    missing <- sum(is.na(v))
    paste0(
      basename(path), ", column ", quoted(name), ": ", form,
      if (missing) paste0("; ", missing, " unknown")
    )
  }, "", USE.NAMES = FALSE)
}

# --- phylogeny ---------------------------------------------------------------------------------

read_phylogeny <- function(path, branch_lengths = NULL) {
  lines <- read_text(path)$lines
  text <- trimws(lines[grepl("[^ \t]", lines)])
  nexus <- grepl("^#NEXUS", text[1], ignore.case = TRUE)
  if (!nexus && !grepl("^(\\[[^]]*\\] *)*\\(", text[1])) return(read_distances(path))
  tree <- tryCatch(
    suppressWarnings(parse_tree(text, nexus)), error = function(e) NULL
  )
  if (inherits(tree, "multiPhylo") && length(tree) > 1) {
    stop_kelpra(path, " holds ", length(tree), " trees. Leave one of them in it.")
  }
  if (inherits(tree, "multiPhylo")) tree <- tree[[1]]
  if (!inherits(tree, "phylo") || length(tree$tip.label) < 2) {
    stop_kelpra(
      path, ": the tree cannot be read. Are all brackets closed, and is there a ; at its end?"
    )
  }
  form <- paste(if (nexus) "Nexus" else "Newick", "tree of", length(tree$tip.label), "tips")
  made <- is.null(tree$edge.length) && identical(branch_lengths, "grafen")
  if (made) tree <- ape::compute.brlen(tree)
  list(
    phylo = tree,
    notes = paste0(basename(path), ": ", form, if (made) ", branch lengths after Grafen (1989)")
  )
}

parse_tree <- function(text, nexus) {
  if (!nexus) return(ape::read.tree(text = paste(text, collapse = "")))
  file <- tempfile(fileext = ".nex")
  on.exit(unlink(file))
  write_lines(text, file)
  ape::read.nexus(file)
}

read_distances <- function(path) {
  read <- read_table(path, what = "phylogeny")
  bad <- names(read$table)[!vapply(read$table, is.numeric, NA)]
  if (length(bad)) {
    stop_kelpra(
      path, " is neither a tree nor a square table of numbers (column ", quoted(bad[1]), ")."
    )
  }
  list(phylo = as.matrix(read$table), notes = paste0(read$notes[1], "; a square table"))
}
