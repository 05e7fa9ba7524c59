# SPDX-License-Identifier: GPL-3.0-or-later
# The page: one HTML file with data, statistics, pictures and what a paper has to tell. No scripts,
# nothing to load: it can be mailed and kept.
#
# kelpra_report(fit, file, title)   fit of kelpra() or kelpra_max(); gives the path
# settings_lines(s, null)           settings in words, for the page and the log
# statistic_sentence(row, ...)      what one statistic says, in words
# report_pictures(fit)              list of list(caption, draw, width, height)

kelpra_report <- function(fit, file = "study.html", title = NULL) {
  if (!inherits(fit, c("kelpra", "kelpra_max"))) {
    stop_kelpra("fit must be made by kelpra() or kelpra_max().")
  }
  if (is.null(title)) title <- "Traits, communities and environment"
  if (!dir.exists(dirname(file))) stop_kelpra("There is no folder ", quoted(dirname(file)), ".")
  page <- c(
    page_head(title), page_summary(fit), page_data(study_fits(fit)[[1]]), page_settings(fit),
    page_statistics(fit), page_pictures(fit), page_diversity(study_fits(fit)[[1]]),
    page_citation(fit), page_session(fit), "</main>", "</body>", "</html>"
  )
  part <- paste0(file, ".part")
  write_lines(enc2utf8(page), part)
  if (!file.rename(part, file)) stop_kelpra("The file ", quoted(file), " cannot be written.")
  invisible(normalizePath(file))
}

# --- pieces of HTML ------------------------------------------------------------------------------

escaped <- function(x) {
  x <- gsub("&", "&amp;", enc2utf8(as.character(x)), fixed = TRUE)
  x <- gsub("<", "&lt;", gsub(">", "&gt;", x, fixed = TRUE), fixed = TRUE)
  gsub("\"", "&quot;", x, fixed = TRUE)
}

tag <- function(name, ...) paste0("<", name, ">", ..., "</", sub(" .*", "", name), ">")

list_of <- function(x) if (length(x)) c("<ul>", tag("li", escaped(x)), "</ul>")

# Numbers to the right, words to the left; wide tables scroll by themselves.
html_table <- function(x, rows = TRUE) {
  cells <- vapply(x, function(v) {
    if (!is.numeric(v)) return(tag("td", escaped(v)))
    tag("td class=\"n\"", ifelse(is.na(v), "", escaped(shown(v))))
  }, character(nrow(x)))
  cells <- matrix(cells, nrow(x))
  head <- tag("th", escaped(names(x)))
  if (rows) {
    cells <- cbind(tag("th scope=\"row\"", escaped(rownames(x))), cells)
    head <- c("<th></th>", head)
  }
  c(
    "<div class=\"wide\"><table>", tag("thead", tag("tr", paste(head, collapse = ""))), "<tbody>",
    tag("tr", apply(cells, 1, paste, collapse = "")), "</tbody></table></div>"
  )
}

shown <- function(v, digits = 3) trimws(formatC(v, digits = digits, format = "fg"))

page_head <- function(title) {
  c(
    "<!DOCTYPE html>", "<html lang=\"en\">", "<head>", "<meta charset=\"utf-8\">",
    "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">",
    tag("title", escaped(title)), tag("style", "\n", paste(page_style, collapse = "\n"), "\n"),
    "</head>", "<body>", "<main>", tag("h1", escaped(title))
  )
}

page_style <- c(
  "body { font: 16px/1.5 system-ui, sans-serif; color: #222; background: #fff; margin: 0; }",
  "main { max-width: 60rem; margin: 0 auto; padding: 1rem 1.5rem 4rem; }",
  "h1 { font-size: 1.7rem; } h2 { margin-top: 2.5rem; border-bottom: 1px solid #bbb; }",
  "table { border-collapse: collapse; font-size: 0.9rem; } .wide { overflow-x: auto; }",
  "th, td { text-align: left; vertical-align: top; padding: 0.25rem 0.7rem 0.25rem 0; }",
  "thead th { border-bottom: 2px solid #888; } tbody tr { border-bottom: 1px solid #ddd; }",
  "tbody th { font-weight: normal; white-space: nowrap; } td.n { text-align: right; }",
  "td.n { font-variant-numeric: tabular-nums; white-space: nowrap; }",
  "figure { margin: 1.5rem 0; } figure svg { max-width: 100%; height: auto; }",
  "figcaption, .small { font-size: 0.9rem; color: #444; }",
  "pre { background: #f4f4f4; padding: 0.8rem; overflow-x: auto; font-size: 0.85rem; }",
  "blockquote { border-left: 3px solid #bbb; margin-left: 0; padding-left: 1rem; }",
  "@media print { details > * { display: block; } figure { break-inside: avoid; } }"
)

# --- sections ------------------------------------------------------------------------------------

page_summary <- function(fit) {
  x <- study_fits(fit)[[1]]$data
  found <- tested(fit)
  main <- found[found$name %in% c("r(TE)", "r(XE.T)", "ro(BF)"), ]
  questions <- c(
    "r(TE)" = "Do the mean traits of communities follow the environment?",
    "r(XE.T)" = "Do communities differ along it in how their OTUs diverge, beyond the means?",
    "ro(BF)" = "Are related OTUs alike in their traits?"
  )
  c(
    tag(
      "p", nrow(x$W), " communities, ", ncol(x$W), " OTUs in ", length(x$types$labels),
      " types, ", length(unique(x$trait_origin)), " traits",
      if (!is.null(x$E)) paste0(", ", ncol(x$E), " variables of the environment"),
      if (!is.null(x$F)) ", and their phylogeny", "."
    ),
    if (nrow(main)) c("<ul>", tag(
      "li", tag("strong", questions[main$name]), " ", escaped(vapply(
        seq_len(nrow(main)), function(i) answer_of(main[i, ]), ""
      ))
    ), "</ul>"),
    if ("r(XE.T)" %in% main$name && study_fits(fit)[[1]]$settings$measure == "mantel") {
      tag("p class=\"small\"", partial_caution)
    }
  )
}

# The partial correlation takes out distances in which all traits weigh the same.
partial_caution <- paste(
  "The answer on divergence is a partial matrix correlation, r(XE.T). It may be large through",
  "convergence alone, where a trait that follows nothing hides the means of the others. Before you",
  "speak of divergence: logarithms of skewed traits, each trait by itself, and the measures rv or",
  "procrustes, which take out the axes of the means one by one (Guillot &amp; Rousset 2013,",
  "Dismantling the Mantel tests, Methods in Ecology and Evolution 4: 336-344)."
)

page_data <- function(fit) {
  x <- fit$data
  short <- do.call(rbind, lapply(unname(x$keys), shortened))
  sums <- data.frame(file = names(fit$checksums), MD5 = unname(fit$checksums))
  c(
    tag("h2", "Data and how they were matched"),
    tag(
      "p", "Rows were matched by name. An OTU is found in ", spread_words(colSums(x$W > 0)),
      " communities; a community holds ", spread_words(rowSums(x$W > 0)), " OTUs. Types of OTUs: ",
      escaped(x$types$from), ", ", length(x$types$labels), " with ",
      spread_words(tabulate(x$types$membership)), " OTUs each."
    ),
    list_of(x$notes[!grepl(", column '.*': numbers from [^;]*$", x$notes)]),
    tag("h3", "Traits"), html_table(column_table(x$B, x$trait_types)),
    if (!is.null(x$E)) c(
      tag("h3", "Variables of the environment"), html_table(column_table(x$E, x$env_types))
    ),
    if (NROW(short)) c(
      "<details>", tag("summary", "Names that are shortened in the program's files"),
      html_table(short, rows = FALSE), "</details>"
    ),
    "<details>", tag("summary", "Files that the program read, with their checksums"),
    html_table(sums, rows = FALSE), "</details>"
  )
}

spread_words <- function(v) {
  if (min(v) == max(v)) return(paste(min(v)))
  paste0(min(v), " to ", max(v), " (median ", stats::median(v), ")")
}

column_table <- function(M, types) {
  range <- function(f) ifelse(types == kind_codes[["nominal"]], NA, apply(M, 2, f, na.rm = TRUE))
  data.frame(
    kind = names(kind_codes)[types], unknown = colSums(is.na(M)), smallest = range(min),
    median = range(stats::median), largest = range(max), row.names = colnames(M)
  )
}

measure_words <- c(
  mantel = "matrix correlation (Mantel)", procrustes = "Procrustes correlation",
  rv = "RV coefficient", regression = "linear regression",
  anova = "analysis of variance of resemblances"
)
null_words <- c(
  taxa = "taxa shuffle: OTUs change places in traits and phylogeny",
  sites = "site shuffle: communities change places in the environment"
)

settings_lines <- function(s, null) {
  part <- function(chosen, what) if (any(chosen == 0)) {
    paste0("only part of the ", what, " is used: ", sum(chosen), " of ", length(chosen))
  }
  c(
    paste("measure of congruence:", measure_words[[s$measure]]),
    if (s$tests) c(
      paste("null model:", null_words[null]),
      paste0("iterations: ", s$iterations, ", the observed arrangement among them"),
      paste("seed of the random generator:", plain_number(s$seed))
    ) else "no tests",
    paste("belonging of OTUs to types:", if (s$fuzzy) "fuzzy" else "crisp"),
    if (s$measure == "mantel") paste("distance between communities:", s$distance),
    paste("matrix correlations:", if (s$two_tailed) "two-tailed" else "one-tailed"),
    if (!s$unit_totals) "communities were not scaled to unit totals",
    if (!is.null(s$within)) paste("OTUs are shuffled within", max(s$within), "groups"),
    part(s$variables, "variables"), part(s$traits, "traits"), part(s$otus, "OTUs")
  )
}

page_settings <- function(fit) {
  fits <- study_fits(fit)
  c(tag("h2", "Settings"), list_of(settings_lines(fits[[1]]$settings, names(fits))))
}

# Statistics with P, its interval, and the P of each null model where there are both.
tested <- function(fit) {
  table <- fit$statistics
  iterations <- study_fits(fit)[[1]]$settings$iterations
  if (is.null(table$lower)) table <- cbind(table, p_interval(table$P, iterations))
  table$iterations <- rep(iterations, nrow(table))
  table
}

page_statistics <- function(fit) {
  found <- tested(fit)
  if (!nrow(found)) {
    return(c(tag("h2", "Statistics"), tag("p", "None: they need variables, a phylogeny or tests.")))
  }
  p <- intersect(c("P_taxa", "P_sites", "P"), names(found))
  interval <- ifelse(is.na(found$P), "", paste(shown(found$lower, 2), "to", shown(found$upper, 2)))
  table <- data.frame(
    statistic = found$name, value = found$value, found[p], interval,
    `in words` = vapply(seq_len(nrow(found)), function(i) statistic_sentence(found[i, ]), "")
  )
  titles <- c(P_taxa = "P, taxa shuffle", P_sites = "P, site shuffle")
  last <- if (length(p) > 1) "larger P" else "P"
  names(table) <- c("statistic", "value", c(titles, P = last)[p], "95 % of P", "in words")
  c(
    tag("h2", "Statistics"), html_table(table, rows = FALSE),
    if (length(p) > 1) tag("p class=\"small\"", escaped(both_shuffles)),
    tag(
      "p class=\"small\"", "P is the share of all arrangements, the observed one among them, in ",
      "which the statistic is as extreme as observed. Its interval tells how sure P itself is ",
      "with this number of iterations. Each P stands for itself: of many, one in twenty is below ",
      "0.05 by chance."
    )
  )
}

statistic_sentence <- function(row) {
  meaning <- row$meaning
  meaning <- paste0(toupper(substr(meaning, 1, 1)), substr(meaning, 2, nchar(meaning)))
  paste0(meaning, ". ", answer_of(row))
}

# In P's interval lies what another seed would have given, and 0.05 is no wall.
answer_of <- function(row) {
  if (is.na(row$value)) return("It could not be computed from these data.")
  judged <- if (is.na(row$P)) "no test" else if (row$upper < 0.05) {
    "rarely so by chance"
  } else if (row$lower > 0.05) "not told from chance" else {
    "near the limit of 0.05, more iterations would tell"
  }
  opposite <- row$value < 0 && grepl("^ro?\\(", row$name)
  paste0(
    "Found: ", shown(row$value), if (opposite) ", the opposite",
    if (!is.na(row$P)) paste0(", P = ", shown(row$P)), ": ", judged, "."
  )
}

page_diversity <- function(fit) {
  if (is.null(fit$diversity)) return(NULL)
  words <- c(
    D = "Gini-Simpson index", Rf = "Rao entropy on traits", FR = "functional redundancy",
    Rp = "Rao entropy on phylogeny", PR = "phylogenetic redundancy"
  )
  there <- intersect(names(words), names(fit$diversity))
  c(
    tag("h2", "Diversity of communities"),
    tag(
      "p", escaped(paste0(there, ": ", words[there], collapse = "; ")),
      ". With _jost: as numbers of equally common, fully distinct OTUs."
    ),
    "<details>", tag("summary", nrow(fit$diversity), " communities"), html_table(fit$diversity),
    "</details>"
  )
}

page_citation <- function(fit) {
  first <- study_fits(fit)[[1]]
  c(
    tag("h2", "How to report and cite"), tag("p", "A sentence for the methods:"),
    tag("blockquote", escaped(methods_sentence(first, names(study_fits(fit))))),
    tag(
      "p", "Report the statistic, its P, the null model, the number of iterations and the seed; ",
      "give all statistics that were tested. Please cite the program and the papers behind what ",
      "you report:"
    ),
    list_of(c(
      paste0(
        "The KELPRA developers. KELPRA: character-based community analysis. Version ",
        first$versions$program, "."
      ),
      references[c(first$settings$measure, "gower", "rao", "both"[inherits(fit, "kelpra_max")])]
    ))
  )
}

methods_sentence <- function(fit, null) {
  x <- fit$data
  s <- fit$settings
  paste0(
    "Traits of ", ncol(x$W), " OTUs (", length(x$types$labels), " types) were scaled up to ",
    nrow(x$W), " communities",
    if (!is.null(x$E)) paste(
      " and related to", sum(s$variables), "variables by", measure_words[[s$measure]]
    ),
    if (s$tests) paste0(
      ", tested by ", paste(c(taxa = "taxa", sites = "site")[null], collapse = " and "),
      " shuffle (", s$iterations, " iterations, seed ", plain_number(s$seed), ")",
      if (length(null) > 1) "; the larger P is reported"
    ),
    "; KELPRA ", fit$versions$program, "."
  )
}

references <- c(
  mantel = paste(
    "Mantel, N. (1967) The detection of disease clustering and a generalized regression approach.",
    "Cancer Research 27: 209-220."
  ),
  procrustes = paste(
    "Gower, J.C. (1971) Statistical methods of comparing different multivariate analyses of the",
    "same data. In: Mathematics in the Archaeological and Historical Sciences, Edinburgh",
    "University Press: 138-149."
  ),
  rv = paste(
    "Escoufier, Y. (1973) Le traitement des variables vectorielles. Biometrics 29: 751-760."
  ),
  regression = paste(
    "Legendre, P. & Legendre, L. (2012) Numerical Ecology. Third edition. Elsevier."
  ),
  anova = paste(
    "Anderson, M.J. (2001) A new method for non-parametric multivariate analysis of variance.",
    "Austral Ecology 26: 32-46."
  ),
  gower = paste(
    "Gower, J.C. (1971) A general coefficient of similarity and some of its properties. Biometrics",
    "27: 857-871."
  ),
  rao = paste(
    "Rao, C.R. (1982) Diversity and dissimilarity coefficients: a unified approach. Theoretical",
    "Population Biology 21: 24-43."
  ),
  both = paste(
    "ter Braak, C.J.F., Cormont, A. & Dray, S. (2012) Improved testing of species",
    "traits-environment relationships in the fourth-corner problem. Ecology 93: 1525-1526."
  )
)

page_session <- function(fit) {
  fits <- study_fits(fit)
  versions <- fits[[1]]$versions
  again <- paste0("kelpra_verify(\"", vapply(fits, `[[`, "", "report"), "\")")
  c(
    tag("h2", "To run it again"),
    tag("p", "In R, with the files where they are (the package answers the program's questions):"),
    tag("pre", paste(escaped(c("library(kelpra)", again)), collapse = "\n")),
    tag("h2", "Session"),
    tag("pre", paste(escaped(c(
      paste("Program", versions$program, "at", versions$path),
      paste("Package kelpra", versions$package), format(Sys.time(), "%Y-%m-%d %H:%M %Z"), "",
      utils::capture.output(utils::sessionInfo())
    )), collapse = "\n"))
  )
}

# --- pictures ------------------------------------------------------------------------------------

page_pictures <- function(fit) {
  pictures <- report_pictures(fit)
  figures <- lapply(seq_along(pictures), function(i) {
    p <- pictures[[i]]
    c("<figure>", drawn(p, paste0("p", i, "-")), tag("figcaption", escaped(p$caption)), "</figure>")
  })
  if (length(figures)) c(tag("h2", "Pictures"), unlist(figures))
}

# A picture that cannot be drawn costs nobody the numbers.
drawn <- function(p, prefix) {
  tryCatch(svg_of(p$draw, prefix, p$caption, p$width, p$height), error = function(e) {
    warning("a picture could not be drawn: ", conditionMessage(e), call. = FALSE)
    tag("p", "This picture could not be drawn: ", escaped(conditionMessage(e)))
  })
}

# Pictures in one page share their ids: each gets its own.
svg_of <- function(draw, prefix, title, width, height) {
  file <- tempfile(fileext = ".svg")
  on.exit(unlink(file))
  open_svg(file, width, height)
  tryCatch(draw(), finally = grDevices::dev.off())
  lines <- readLines(file, encoding = "UTF-8", warn = FALSE)
  lines <- lines[!grepl("^<\\?xml|^<!DOCTYPE", lines)]
  lines <- gsub("\\bid=(['\"])", paste0("id=\\1", prefix), lines)
  lines <- gsub("href=(['\"])#", paste0("href=\\1#", prefix), lines)
  lines <- gsub("url(#", paste0("url(#", prefix), lines, fixed = TRUE)
  named <- paste0("<svg role=\"img\" aria-label=\"", escaped(title), "\" ")
  sub("<svg ", named, lines, fixed = TRUE)
}

open_svg <- function(file, width, height) {
  if (capabilities("cairo")) return(grDevices::svg(file, width, height))
  if (requireNamespace("svglite", quietly = TRUE)) return(svglite::svglite(file, width, height))
  stop_kelpra("This R draws no SVG: install the package svglite.")
}

picture_captions <- c(
  statistics = "P of each statistic with its 95 % Monte Carlo interval; dashed: 0.05.",
  means = "Community weighted means of traits against the variables, a dot for each community.",
  diversity = "Diversity and redundancy of communities against the variables.",
  ordination = paste(
    "Communities by principal coordinates: the nearer, the more alike in their composition",
    "weighted by traits (left) and in their means of traits (right)."
  )
)

# Inches; grids of more than 12 traits or 8 variables show the first of them.
report_pictures <- function(fit) {
  data <- study_fits(fit)[[1]]$data
  variables <- utils::head(colnames(data$E), 8)
  traits <- utils::head(colnames(data$B), 12)
  cut <- ncol(data$B) > 12 || (length(variables) && ncol(data$E) > 8)
  across <- 2 + 1.5 * length(variables)
  sizes <- list(
    statistics = c(8, min(1.8 + 0.3 * nrow(fit$statistics), 30)),
    means = c(across, 1.5 + 1.2 * length(traits)),
    diversity = c(across, if (is.null(data$F)) 5 else 7.5), ordination = c(9, 5)
  )
  lapply(stats::setNames(nm = picture_kinds(fit)), function(what) {
    chosen <- c(
      if (what %in% c("means", "diversity")) list(variables = variables),
      if (what == "means") list(traits = traits)
    )
    more <- if (cut && what != "statistics") " Others: plot() in R." else ""
    list(
      caption = paste0(picture_captions[[what]], if (length(chosen)) more),
      draw = function() do.call(plot, c(list(fit, what), chosen)),
      width = sizes[[what]][1], height = sizes[[what]][2]
    )
  })
}
