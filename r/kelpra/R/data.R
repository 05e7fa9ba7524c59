# SPDX-License-Identifier: GPL-3.0-or-later
# The checked data set, class "kelpra_data". All the rest of the package starts from it:
#
#   W             performances, communities by OTUs, named
#   B             traits as numbers, OTUs by columns, NA where missing; trait_types, trait_groups
#                 (or NULL)
#   trait_origin  the user's column behind each column of B
#   E             variables, communities by variables, or NULL; env_types, env_kind (1 to 5)
#   F             phylogenetic resemblance, OTUs by OTUs, or NULL; phylo_kind, phylo_from
#   types         see types.R: membership, labels, species, from, silhouette
#   keys          otus, traits, communities, variables: data frames of name and label (at most 10
#                 characters; OTUs 65, with blanks), as the files of the program have them
#   notes         what was decided or dropped on the way, in words
#
# The order of OTUs is that of traits, that of communities that of env (without env of comm), or
# that of the arguments otus and communities. It matters: the same seed shuffles rows, not names.

kelpra_data <- function(traits, comm, env = NULL, phylo = NULL, types = NULL,
                        comm_rows = c("guess", "communities", "otus"), drop = FALSE,
                        loose_names = FALSE, otus = NULL, communities = NULL, trait_types = NULL,
                        trait_groups = NULL,
                        factors = c("columns", "codes"), env_types = NULL,
                        env_units = c("different", "same")) {
  comm_rows <- one_of(comm_rows, c("guess", "communities", "otus"), "comm_rows")
  factors <- one_of(factors, c("columns", "codes"), "factors")
  env_units <- one_of(env_units, c("different", "same"), "env_units")
  noted <- with_notes({
    traits <- as_table(traits, "traits")
    if (!is.null(env)) env <- as_table(env, "env")
    W <- performances(comm, rownames(traits), rownames(env), comm_rows, loose_names)
    matched <- matched_rows(traits, W, env, list(otus, communities), drop)
    x <- assemble(
      matched, phylo, types, rownames(traits), loose_names, trait_types, trait_groups, factors,
      env_types, env_units
    )
  })
  x$notes <- noted$notes
  x
}

# Every message is shown and kept.
with_notes <- function(code) {
  notes <- character(0)
  value <- withCallingHandlers(
    code, kelpra_message = function(m) notes <<- c(notes, trimws(conditionMessage(m)))
  )
  list(value = value, notes = notes)
}

assemble <- function(
  m, phylo, types, given_order, loose, trait_types, trait_groups, factors, env_types, env_units
) {
  traits <- coded_traits(m$traits, trait_types, trait_groups, factors)
  check_varies(traits$B, "traits", "It tells no OTU from another; leave it out.")
  check_common_traits(traits$B)
  warn_rounding(traits$B, "traits")
  env <- if (!is.null(m$env)) coded_env(m$env, env_types, env_units)
  if (!is.null(env)) warn_rounding(env$E, "env")
  phylogeny <- if (!is.null(phylo)) resemblance(phylo, rownames(m$traits), loose)
  as_columns <- m$traits
  as_columns[] <- Map(
    function(v, name) if (is.numeric(v)) as.numeric(v) else v, m$traits, names(m$traits)
  )
  groups <- otu_types(types, as_columns, rownames(m$traits), given_order)
  say_types(groups)
  structure(
    list(
      W = m$W, B = traits$B, trait_types = traits$types, trait_groups = traits$groups,
      trait_origin = traits$origin, E = env$E, env_types = env$types, env_kind = env$kind,
      F = phylogeny$F,
      phylo_kind = phylogeny$kind, phylo_from = phylogeny$from, types = groups,
      keys = keys_of(m, traits$B, env$E),
      notes = character(0)
    ),
    class = "kelpra_data"
  )
}

keys_of <- function(m, B, E) {
  list(
    otus = make_key(rownames(B), 65, blanks = TRUE), traits = make_key(colnames(B), 10),
    communities = make_key(rownames(m$W), 10),
    variables = make_key(if (is.null(E)) character(0) else colnames(E), 10)
  )
}

say_types <- function(types) {
  if (length(types$silhouette) < 2) return(invisible())
  say(
    "types: ", length(types$labels), " groups of OTUs by ", types$from, ", the best of ",
    names(types$silhouette)[1], " to ", utils::tail(names(types$silhouette), 1),
    " by the mean silhouette width (",
    format(max(types$silhouette), digits = 2), "). Give the argument types to choose otherwise."
  )
}

# --- comm: its orientation ---------------------------------------------------------------------

# Communities by OTUs, whichever way the table lies.
performances <- function(comm, otus, communities, comm_rows, loose) {
  W <- as_table(comm, "comm")
  words <- names(W)[!vapply(W, function(v) is.numeric(v) || is.logical(v), NA)]
  if (length(words)) {
    stop_kelpra(
      "comm, column ", quoted(words[1]), " holds no numbers but ", class(W[[words[1]]])[1], " (",
      quoted(W[[words[1]]][1]), ")."
    )
  }
  W <- as.matrix(W) + 0
  if (loose) dimnames(W) <- loosen_sides(dimnames(W), otus, communities)
  if (comm_rows == "guess") comm_rows <- guess_rows(W, otus, communities)
  if (comm_rows == "otus") W <- t(W)
  check_cells(
    W, is.na(W), "comm", "is missing: write 0 for an absence, or leave the community or OTU out"
  )
  check_cells(W, !is.finite(W), "comm", "is not finite")
  check_cells(W, W < 0, "comm", "is negative")
  W
}

loosen_sides <- function(names, otus, communities) {
  lapply(names, function(side) {
    near <- if (is.null(communities)) side else loosen(side, communities)
    as_otu <- loosen(side, otus)
    if (sum(as_otu %in% otus) >= sum(near %in% communities)) as_otu else near
  })
}

guess_rows <- function(W, otus, communities) {
  upright <- sum(colnames(W) %in% otus) + sum(rownames(W) %in% communities)
  turned <- sum(rownames(W) %in% otus) + sum(colnames(W) %in% communities)
  if (upright > turned) return("communities")
  if (turned > upright) return("otus")
  if (upright == 0) {
    strangers(
      otus, c(colnames(W), rownames(W)), "OTUs of traits", "in comm",
      "Neither rows nor columns of comm have a name of traits."
    )
  }
  stop_kelpra(
    "comm: rows and columns both fit the OTUs and communities. ",
    "Say comm_rows = \"communities\" or comm_rows = \"otus\"."
  )
}

# --- rows matched by name ----------------------------------------------------------------------

matched_rows <- function(traits, W, env, wanted, drop) {
  otus <- side(rownames(traits), colnames(W), wanted[[1]], c("OTUs", "traits", "comm"), drop)
  sites <- if (is.null(env)) rownames(W) else rownames(env)
  sites <- side(sites, rownames(W), wanted[[2]], c("Communities", "env", "comm"), drop)
  W <- without_empty(W[sites, otus, drop = FALSE], drop)
  if (nrow(W) < 2 || ncol(W) < 2) {
    stop_kelpra("Too little is left: ", nrow(W), " communities and ", ncol(W), " OTUs.")
  }
  list(
    traits = traits[colnames(W), , drop = FALSE], W = W,
    env = if (!is.null(env)) env[rownames(W), , drop = FALSE]
  )
}

# The names that both tables have, in the order of the first or of those wanted.
side <- function(first, second, wanted, words, drop) {
  if (!is.null(wanted)) return(wanted_names(as.character(wanted), first, second, words))
  lonely <- c(setdiff(first, second), setdiff(second, first))
  if (!length(lonely)) return(first)
  if (drop) {
    say(
      words[1], " that are not in both ", words[2], " and ", words[3], " are dropped: ",
      listed(quoted(lonely)), "."
    )
    return(intersect(first, second))
  }
  stranger_sides(first, second, words)
}

stranger_sides <- function(first, second, words) {
  parts <- list(
    list(setdiff(first, second), second, words[2:3]),
    list(setdiff(second, first), first, words[3:2])
  )
  text <- vapply(Filter(function(p) length(p[[1]]) > 0, parts), function(p) {
    paste0(
      words[1], " of ", p[[3]][1], " not found in ", p[[3]][2], ":\n", with_nearest(p[[1]], p[[2]])
    )
  }, "")
  stop_kelpra(
    paste(text, collapse = "\n"),
    "\nRename them, set loose_names = TRUE (case, blank, underscore, dot alike), or drop = TRUE ",
    "to leave them out.",
    class = "kelpra_strangers"
  )
}

wanted_names <- function(wanted, first, second, words) {
  check_names(wanted, paste("argument", tolower(words[1])), "entry")
  for (where in 1:2) {
    pool <- list(first, second)[[where]]
    absent <- setdiff(wanted, pool)
    if (length(absent)) {
      strangers(
        absent, pool, words[1], paste("in", words[where + 1]),
        "Choose among the names that are there."
      )
    }
  }
  wanted
}

without_empty <- function(W, drop) {
  repeat {
    empty <- list(rownames(W)[rowSums(W) == 0], colnames(W)[colSums(W) == 0])
    if (!length(unlist(empty))) return(W)
    if (!drop) break
    say("Dropped: ", empty_words(empty), ".")
    W <- W[rowSums(W) > 0, colSums(W) > 0, drop = FALSE]
  }
  stop_kelpra("comm: ", empty_words(empty), ". Leave them out, or set drop = TRUE.")
}

empty_words <- function(empty) {
  words <- paste0(
    c("communities without OTUs: ", "OTUs without a record: "),
    lapply(empty, function(n) listed(quoted(n)))
  )
  paste(words[lengths(empty) > 0], collapse = "; ")
}

# --- looking at it -----------------------------------------------------------------------------

print.kelpra_data <- function(x, ...) {
  cat(
    "KELPRA data: ", nrow(x$W), " communities, ", ncol(x$W), " OTUs, ", ncol(x$B), " traits",
    sep = ""
  )
  if (!is.null(x$E)) cat(", ", ncol(x$E), " variables", sep = "")
  if (!is.null(x$F)) cat(", phylogeny as ", x$phylo_kind, " ", x$phylo_from, sep = "")
  cat("\n")
  cat("Types of OTUs: ", length(x$types$labels), " (", x$types$from, ")\n", sep = "")
  if (length(x$notes)) cat(paste0("Note: ", x$notes, "\n"), sep = "")
  invisible(x)
}

summary.kelpra_data <- function(object, ...) {
  column <- function(M, types) {
    data.frame(
      type = names(kind_codes)[types], missing = colSums(is.na(M)),
      states = apply(M, 2, function(v) length(unique(v[!is.na(v)]))),
      min = apply(M, 2, min, na.rm = TRUE), max = apply(M, 2, max, na.rm = TRUE)
    )
  }
  structure(
    list(
      traits = column(object$B, object$trait_types), groups = object$trait_groups,
      variables = if (!is.null(object$E)) column(object$E, object$env_types),
      communities = summary(rowSums(object$W > 0)), otus = summary(colSums(object$W > 0)),
      types = table(
        factor(object$types$labels[object$types$membership], object$types$labels), dnn = NULL
      ),
      silhouette = object$types$silhouette,
      shortened = do.call(rbind, lapply(unname(object$keys), shortened)), data = object
    ),
    class = "summary.kelpra_data"
  )
}

print.summary.kelpra_data <- function(x, ...) {
  print(x$data)
  part <- function(title, value) {
    if (!NROW(value)) return(invisible())
    cat("\n", title, ":\n", sep = "")
    print(value)
  }
  part("Traits", x$traits)
  part("Groups of traits", x$groups)
  part("Variables", x$variables)
  part("OTUs in a community", x$communities)
  part("Communities of an OTU", x$otus)
  part("OTUs in each type", x$types)
  part(
    "Mean silhouette width by number of groups", if (length(x$silhouette)) round(x$silhouette, 3)
  )
  part("Names that are shortened in the program's files", x$shortened)
  invisible(x)
}
