# SPDX-License-Identifier: GPL-3.0-or-later
# Tables that the user gives, brought to one shape: a data frame whose row names are the names.
#
# as_table(x, what)          data frame of x (data frame or matrix) with checked names
# kind_of(column)            "binary", "nominal", "quantitative" or "ordinal" by the column's class
# codes_of(column, kind)     numbers for the program; NA stays NA
# coded_table(table, kinds, what)  list(codes, kinds): all columns through the two, and checked
#
# Whatever is wrong is an error that names the table, the column and the row.

missing_code <- -999
kind_codes <- c(binary = 1L, nominal = 2L, quantitative = 3L, ordinal = 4L)

as_table <- function(x, what) {
  if (is.matrix(x) || inherits(x, "table")) x <- as.data.frame.matrix(x, stringsAsFactors = FALSE)
  if (!is.data.frame(x)) {
    stop_kelpra(what, " must be a data frame or a matrix, not ", class(x)[1], ".")
  }
  if (!nrow(x) || !ncol(x)) {
    stop_kelpra(what, " is empty (", nrow(x), " rows, ", ncol(x), " columns).")
  }
  x <- name_rows(as.data.frame(x), what)
  if (!ncol(x)) stop_kelpra(what, " has no column beside the names.")
  check_names(rownames(x), what, "row")
  check_names(names(x), what, "column")
  x
}

# read.csv without row.names = 1 leaves the names in the first column.
name_rows <- function(x, what) {
  if (.row_names_info(x) > 0 || !ncol(x)) return(x)
  first <- x[[1]]
  if ((is.character(first) || is.factor(first)) && !anyDuplicated(first) && !anyNA(first)) {
    say(what, ": the first column, ", quoted(names(x)[1]), ", holds the names of the rows.")
    rownames(x) <- as.character(first)
    return(x[-1])
  }
  stop_kelpra(
    what, " has no row names. Tables are matched by name: read the file with ",
    "read.csv(..., row.names = 1), or set rownames()."
  )
}

check_names <- function(names, what, side) {
  empty <- which(is.na(names) | trimws(names) == "")
  if (length(empty)) stop_kelpra(what, ": ", side, " ", empty[1], " has no name.")
  twice <- unique(names[duplicated(names)])
  if (length(twice)) {
    stop_kelpra(what, ": more than one ", side, " is named ", listed(quoted(twice)), ".")
  }
}

kind_of <- function(column) {
  if (is.logical(column)) return("binary")
  if (is.ordered(column)) return("ordinal")
  if (is.factor(column) || is.character(column)) return("nominal")
  dated <- inherits(column, c("Date", "POSIXt", "difftime"))
  if (is.numeric(column) && is.null(dim(column)) && !dated) "quantitative" else NA_character_
}

kinds_of <- function(table, given, what) {
  kinds <- vapply(table, kind_of, "")
  unknown <- setdiff(names(given), names(table))
  if (length(unknown)) {
    strangers(unknown, names(table), "Columns", paste("in", what), "Name columns as they stand.")
  }
  wrong <- setdiff(given, names(kind_codes))
  if (length(wrong)) {
    stop_kelpra("A type of ", what, " must be one of ", listed(quoted(names(kind_codes))), ".")
  }
  kinds[names(given)] <- unlist(given)
  odd <- names(kinds)[is.na(kinds)]
  if (length(odd)) {
    stop_kelpra(
      what, ", column ", quoted(odd[1]), ": class ", class(table[[odd[1]]])[1],
      " is no type of data here."
    )
  }
  kinds
}

codes_of <- function(column, kind, place) {
  if (is.character(column)) column <- as_factor(column, place)
  if (is.factor(column) && !is.ordered(column)) column <- droplevels(column)
  states <- if (is.numeric(column)) sort(unique(column)) else levels(factor(column))
  if (kind == "binary" && is.numeric(column) && !all(states %in% 0:1)) {
    stop_kelpra(
      place, " is binary but holds ", listed(states), "; 0, 1, TRUE and FALSE are binary."
    )
  }
  if (kind == "binary" && is.factor(column)) {
    if (length(states) > 2) stop_kelpra(place, " is binary but has ", length(states), " states.")
    return(as.integer(factor(column)) - 1)
  }
  if (kind %in% c("quantitative", "ordinal") && is.factor(column) && !is.ordered(column)) {
    stop_kelpra(place, " is ", kind, " but holds words; make it numeric or an ordered factor.")
  }
  as.numeric(column)
}

# A decimal comma makes text of numbers, and each value would become a state of its own.
as_factor <- function(column, place) {
  text <- trimws(column[!is.na(column)])
  if (length(text) && all(grepl("^[-+]?[0-9]*[.,]?[0-9]+([eE][-+]?[0-9]+)?$", text))) {
    stop_kelpra(
      place, " is text that looks like numbers (", quoted(text[1]), "). ",
      "Read the file with dec = \",\" (read.csv2), or make the column numeric, or a factor."
    )
  }
  factor(column)
}

coded_table <- function(table, kinds, what) {
  codes <- vapply(names(table), function(name) {
    codes_of(table[[name]], kinds[[name]], paste0(what, ", column ", quoted(name)))
  }, numeric(nrow(table)))
  codes <- matrix(codes, nrow(table), dimnames = dimnames(table))
  codes[is.nan(codes)] <- NA
  check_cells(codes, is.infinite(codes), what, "is not finite")
  check_cells(
    codes, !is.na(codes) & codes == missing_code, what,
    "is -999, the program's code of a missing value; use NA"
  )
  codes
}

# The first bad cell by row and column name, and how many more there are.
check_cells <- function(cells, bad, what, complaint) {
  bad[is.na(bad)] <- TRUE
  if (!any(bad)) return(invisible())
  first <- which(bad, arr.ind = TRUE)[1, ]
  others <- sum(bad) - 1
  stop_kelpra(
    what, ", row ", quoted(rownames(cells)[first[1]]), ", column ",
    quoted(colnames(cells)[first[2]]), ": ", cells[first[1], first[2]], " ", complaint,
    if (others) paste0(" (and ", others, " more cells)"), "."
  )
}

check_varies <- function(codes, what, advice) {
  states <- apply(codes, 2, function(v) length(unique(v[!is.na(v)])))
  none <- colnames(codes)[states == 0]
  if (length(none)) {
    stop_kelpra(what, ", column ", quoted(none[1]), " holds nothing but missing values. ", advice)
  }
  constant <- colnames(codes)[states == 1]
  if (length(constant)) {
    stop_kelpra(what, ", column ", quoted(constant[1]), " has the same value everywhere. ", advice)
  }
}

# The program keeps six significant digits, so close values far from 0 become one.
warn_rounding <- function(codes, what) {
  lost <- apply(codes, 2, function(v) 1 - length(unique(signif(v, 6))) / length(unique(v)))
  for (name in colnames(codes)[lost > 0.05]) {
    warning(
      what, ", column '", name, "': the program keeps six significant digits, in which ",
      format(100 * lost[[name]], digits = 2), " % of the values are no longer told apart; ",
      "subtract a constant first.", call. = FALSE
    )
  }
}
