# SPDX-License-Identifier: GPL-3.0-or-later
# Traits as the program wants them: numbers, a type and perhaps a group for each column.
#
# coded_traits(table, types, groups, factors)  list(
#   B       OTUs by columns, NA where missing
#   types   1 dichotomous, 2 nominal, 3 interval or ratio, 4 ordinal, by column
#   groups  a number for each column, or NULL: columns of a group can weigh as one trait
#   origin  the user's column that each column comes from)

coded_traits <- function(table, types = NULL, groups = NULL, factors = "columns") {
  kinds <- kinds_of(table, types, "traits")
  codes <- coded_table(table, kinds, "traits")
  parts <- lapply(names(table), function(name) {
    if (kinds[[name]] == "nominal") return(spread(table[[name]], codes[, name], name, factors))
    list(codes[, name, drop = FALSE], kinds[[name]])
  })
  origin <- rep(names(table), vapply(parts, function(p) ncol(p[[1]]), 0L))
  B <- do.call(cbind, lapply(parts, `[[`, 1))
  types <- kind_codes[rep(vapply(parts, `[[`, "", 2), table(factor(origin, names(table))))]
  list(
    B = B, types = stats::setNames(types, colnames(B)),
    groups = trait_groups(groups, origin, colnames(B)), origin = origin
  )
}

# Averages of the codes of a nominal trait mean nothing, shares of its states do.
spread <- function(column, codes, name, factors) {
  states <- if (is.numeric(column)) sort(unique(codes[!is.na(codes)])) else levels(factor(column))
  whole <- matrix(codes, dimnames = list(NULL, name))
  if (factors == "codes") return(list(whole, "nominal"))
  # Codes of TRUE and FALSE are 1 and 0, those of other states count from 1.
  values <- if (is.numeric(column)) states else seq_along(states)
  if (is.logical(column)) values <- states == "TRUE"
  columns <- outer(codes, values, `==`) + 0
  dimnames(columns) <- list(NULL, paste(name, states, sep = "."))
  if (length(states) == 2) columns <- columns[, 2, drop = FALSE]
  list(columns, "binary")
}

trait_groups <- function(groups, origin, columns) {
  if (is.null(groups) && !anyDuplicated(origin)) return(NULL)
  group <- stats::setNames(origin, columns)
  known <- intersect(names(groups), origin)
  unknown <- setdiff(names(groups), origin)
  if (length(unknown)) {
    strangers(unknown, unique(origin), "Columns", "in traits", "Name columns as they stand.")
  }
  for (name in known) group[origin == name] <- paste("group", groups[[name]])
  if (!is.null(groups) && is.null(names(groups))) {
    stop_kelpra("trait_groups must be named by columns of traits.")
  }
  stats::setNames(match(group, unique(group)), columns)
}

# Gower's index has nothing to say on two OTUs without a common trait.
check_common_traits <- function(B) {
  known <- !is.na(B) + 0
  apart <- which(tcrossprod(known) == 0 & upper.tri(diag(nrow(B))), arr.ind = TRUE)
  if (!nrow(apart)) return(invisible())
  pairs <- paste(quoted(rownames(B)[apart[, 1]]), "and", quoted(rownames(B)[apart[, 2]]))
  stop_kelpra(
    "traits: no trait is known of both ", listed(pairs, 4),
    ". Fill in values or leave one of them out."
  )
}
