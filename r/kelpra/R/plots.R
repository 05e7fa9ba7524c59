# SPDX-License-Identifier: GPL-3.0-or-later
# Pictures, in base graphics on whatever device is open.
#
# plot.kelpra(x, what)    statistics  P of each statistic with its Monte Carlo interval
#                         means       each community mean of a trait against each variable
#                         diversity   diversity and redundancy against each variable
#                         ordination  communities by principal coordinates of DX and of DT
# plot.kelpra_max(x)      P of both shuffles; the other pictures are those of the taxa shuffle
# picture_kinds(fit)      the pictures that a fit has something for, as names of what
#
# Colours are those of Okabe & Ito (2008) for groups, which shapes tell apart as well, and a scale
# from dark blue to yellow for numbers.

picture_kinds <- function(fit) {
  if (inherits(fit, "kelpra_max")) return(picture_kinds(fit$fits$taxa))
  has <- c(
    statistics = any(!is.na(fit$statistics$P)),
    means = !is.null(fit$data$E) && !is.null(fit$matrices$T),
    diversity = !is.null(fit$data$E) && !is.null(fit$diversity), ordination = TRUE
  )
  names(has)[has]
}

plot.kelpra <- function(x, what = c("statistics", "means", "diversity", "ordination"),
                        variables = NULL, traits = NULL, colour = NULL, labels = FALSE, ...) {
  what <- wanted_picture(what, x)
  at <- which(chosen(variables, colnames(x$data$E), "variables") == 1)
  switch(what,
    statistics = draw_p(list(x$statistics)),
    means = draw_grid(means_of(x, traits), x$data, at, "Community weighted means of traits"),
    diversity = draw_grid(diversity_of(x), x$data, at, "Diversity and redundancy of communities"),
    ordination = draw_ordinations(x, colour, labels)
  )
  invisible(x)
}

plot.kelpra_max <- function(
  x, what = c("statistics", "means", "diversity", "ordination"), ...
) {
  what <- wanted_picture(what, x)
  if (what != "statistics") {
    plot.kelpra(x$fits$taxa, what, ...)
    return(invisible(x))
  }
  draw_p(list(`taxa shuffle` = x$fits$taxa$statistics, `site shuffle` = x$fits$sites$statistics))
  invisible(x)
}

wanted_picture <- function(what, fit) {
  kinds <- picture_kinds(fit)
  all <- eval(formals(plot.kelpra)$what)
  if (identical(what, all)) return(kinds[1])
  what <- one_of(what, all, "what")
  if (what %in% kinds) return(what)
  stop_kelpra("This fit has nothing to draw for ", quoted(what), "; it has ", listed(kinds), ".")
}

okabe_ito <- function(n) unname(rep_len(grDevices::palette.colors(8)[c(6, 7, 4, 2, 8, 3, 1)], n))

# --- P with intervals --------------------------------------------------------------------------

# One row for each statistic, one symbol for each table: a null model.
draw_p <- function(tables) {
  kept <- rowSums(vapply(tables, function(t) !is.na(t$P), logical(nrow(tables[[1]])))) > 0
  tables <- lapply(tables, function(t) t[kept, ])
  n <- sum(kept)
  least <- min(unlist(lapply(tables, `[[`, "P")), na.rm = TRUE) / 2
  cex <- row_size(n)
  old <- graphics::par(
    mai = c(0.9, label_room(tables[[1]]$name, cex), 0.7, 0.2), las = 1, no.readonly = TRUE
  )
  on.exit(graphics::par(old))
  graphics::plot(
    c(least, 1), c(0.5, n + 0.5), type = "n", log = "x", axes = FALSE, ylab = "", xaxs = "i",
    xlab = "P with its 95 % Monte Carlo interval (log scale; dashed: 0.05)",
    main = "Permutation tests"
  )
  graphics::box()
  graphics::abline(v = 0.05, lty = 2)
  ticks <- c(1, 0.5, 0.1, 0.05, 10^-(2:9))
  graphics::axis(1, ticks[ticks > least], vapply(ticks, plain_number, "")[ticks > least])
  graphics::axis(2, rev(seq_len(n)), tables[[1]]$name, cex.axis = cex, tick = FALSE)
  for (i in seq_along(tables)) draw_intervals(tables[[i]], i, length(tables), least)
  if (length(tables) > 1) legend_above(names(tables), okabe_ito(2), 16:17)
}

draw_intervals <- function(table, i, of, least) {
  y <- rev(seq_len(nrow(table))) + (of + 1 - 2 * i) * 0.12
  colour <- okabe_ito(of)[i]
  graphics::segments(pmax(table$lower, least), y, table$upper, y, col = colour, lwd = 2)
  graphics::points(pmin(table$P, 0.99), y, pch = 15 + i, col = colour, cex = 1.2, xpd = TRUE)
}

# Inches that the longest label takes, but half of the picture at most.
label_room <- function(labels, cex) {
  wide <- max(graphics::strwidth(labels, "inches", cex = cex)) + 0.3
  min(wide, graphics::par("din")[1] / 2)
}

row_size <- function(n) min(1, 4.5 * graphics::par("din")[2] / n)

legend_above <- function(labels, colours, symbols) {
  graphics::legend(
    "top", labels, col = colours, pch = symbols, horiz = TRUE, bty = "n", xpd = NA,
    inset = c(0, -0.35 / graphics::par("pin")[2])
  )
}

# --- columns against variables -----------------------------------------------------------------

means_of <- function(fit, traits) {
  T <- fit$matrices$T
  T[, chosen(traits, colnames(T), "traits") == 1 & fit$settings$traits == 1, drop = FALSE]
}

diversity_words <- c(
  D = "Gini-Simpson D", Rf = "Rao entropy Rf", FR = "redundancy FR = D - Rf",
  Rp = "phylogenetic entropy Rp", PR = "redundancy PR = D - Rp"
)

diversity_of <- function(fit) {
  found <- intersect(names(diversity_words), names(fit$diversity))
  structure(
    as.matrix(fit$diversity[found]), dimnames = list(NULL, unname(diversity_words[found]))
  )
}

# A panel for each column of Y (down) and each variable (across): points for numbers, boxes for
# groups.
draw_grid <- function(Y, data, variables, title) {
  old <- graphics::par(
    mfrow = c(ncol(Y), length(variables)), mar = c(0.6, 0.6, 0.4, 0.4), oma = c(4, 4.5, 3, 0.5),
    mgp = c(1.5, 0.5, 0), tcl = -0.25, no.readonly = TRUE
  )
  on.exit(graphics::par(old))
  for (i in seq_len(ncol(Y))) for (j in seq_along(variables)) {
    draw_panel(
      data$E[, variables[j]], Y[, i], data$env_types[[variables[j]]] %in% 1:2,
      if (i == ncol(Y)) colnames(data$E)[variables[j]], if (j == 1) colnames(Y)[i]
    )
  }
  title <- paste(title, "against variables")
  size <- min(1, 0.9 * graphics::par("din")[1] / graphics::strwidth(title, "inches", 1, font = 2))
  graphics::mtext(title, outer = TRUE, line = 1, font = 2, cex = size)
}

draw_panel <- function(v, y, groups, xlab, ylab) {
  colour <- okabe_ito(1)
  if (groups) {
    graphics::boxplot(y ~ v, axes = FALSE, ann = FALSE, border = colour, col = NA)
  } else {
    graphics::plot(v, y, axes = FALSE, ann = FALSE, col = colour, cex = 0.8)
  }
  graphics::box(col = "grey40")
  if (!is.null(xlab)) {
    graphics::axis(1, if (groups) seq_along(unique(v[!is.na(v)])),
                   if (groups) sort(unique(v)) else TRUE)
    outer_label(xlab, 1, graphics::par("pin")[1])
  }
  if (!is.null(ylab)) {
    graphics::axis(2)
    outer_label(ylab, 2, graphics::par("pin")[2])
  }
}

# A name beside its panel, made small where it is longer than the panel.
outer_label <- function(label, side, room) {
  size <- min(1, 1.1 * room / graphics::strwidth(label, "inches", cex = 1))
  graphics::mtext(label, side, 2.2, cex = size * graphics::par("cex"), xpd = NA)
}

# --- ordination --------------------------------------------------------------------------------

# DX as the program compares it: Euclidean distance of X, of rows at unit length for the chord. The
# report prints DT with matrix correlations alone; it is the Euclidean distance of normalised means.
distances_of <- function(fit) {
  X <- if (fit$settings$fuzzy) fit$matrices$X else fit$matrices$X_crisp
  if (fit$settings$distance == "chord") X <- X / sqrt(rowSums(X^2))
  DT <- fit$matrices$DT
  Tn <- fit$matrices$Tn
  list(
    DX = if (!is.null(X)) stats::dist(X),
    DT = if (!is.null(DT)) stats::as.dist(DT) else if (!is.null(Tn)) stats::dist(Tn)
  )
}

ordination_titles <- c(
  DX = "by composition weighted by traits (DX)", DT = "by means of traits (DT)"
)

draw_ordinations <- function(fit, colour, labels) {
  distances <- Filter(Negate(is.null), distances_of(fit))
  shown <- colours_of(fit$data, colour)
  old <- graphics::par(
    mfrow = c(1, length(distances)), mar = c(4.5, 4.2, 2.5, 0.8), oma = c(0, 0, 3.2, 0),
    no.readonly = TRUE
  )
  on.exit(graphics::par(old))
  for (name in names(distances)) draw_ordination(distances[[name]], name, shown, labels)
  graphics::mtext("Principal coordinates of communities", outer = TRUE, line = 1.6, font = 2)
  if (!is.null(shown$title)) outer_legend(shown)
}

draw_ordination <- function(d, name, shown, labels) {
  pcoa <- suppressWarnings(stats::cmdscale(d, 2, eig = TRUE))
  points <- cbind(pcoa$points, 0, 0)[, 1:2]
  share <- 100 * (pcoa$eig / sum(pcoa$eig[pcoa$eig > 0]))[1:2]
  axis <- sprintf("Axis %d (%.0f %% of the variation)", 1:2, share)
  graphics::plot(
    points, asp = 1, xlab = axis[1], ylab = axis[2], type = "n", main = ordination_titles[[name]],
    cex.main = 1
  )
  graphics::abline(h = 0, v = 0, col = "grey85")
  if (labels) {
    return(graphics::text(points, base::labels(d), col = shown$colours, cex = 0.8, xpd = NA))
  }
  graphics::points(points, pch = shown$symbols, col = shown$colours, cex = 1.2)
}

# Colour and symbol of each community by a variable, and what the legend says.
colours_of <- function(data, variable) {
  if (is.null(data$E)) {
    return(list(colours = rep(okabe_ito(1), nrow(data$W)), symbols = rep(19, nrow(data$W))))
  }
  at <- if (is.null(variable)) 1 else which(chosen(variable, colnames(data$E), "colour") == 1)[1]
  v <- data$E[, at]
  numbers <- data$env_types[[at]] == 3 || length(unique(v)) > 7
  c(list(title = colnames(data$E)[at]), if (numbers) scale_of(v) else groups_of(v))
}

scale_of <- function(v) {
  colours <- grDevices::hcl.colors(115, "Cividis")  # without the palest, on white
  range <- range(v, na.rm = TRUE)
  place <- function(v) colours[1 + round(100 * (v - range[1]) / diff(range))]
  keys <- pretty(range, 4)
  keys <- keys[keys >= range[1] & keys <= range[2]]
  list(
    colours = ifelse(is.na(v), "grey70", place(v)), symbols = ifelse(is.na(v), 4, 19),
    keys = keys, key_colours = place(keys), key_symbols = rep(19, length(keys))
  )
}

groups_of <- function(v) {
  keys <- sort(unique(v))
  group <- match(v, keys)
  symbols <- c(19, 17, 15, 18, 1, 2, 0)[seq_along(keys)]
  list(
    colours = ifelse(is.na(v), "grey70", okabe_ito(length(keys))[group]),
    symbols = ifelse(is.na(v), 4, symbols[group]), keys = keys,
    key_colours = okabe_ito(length(keys)), key_symbols = symbols
  )
}

outer_legend <- function(shown) {
  old <- graphics::par(fig = c(0, 1, 0, 1), oma = c(0, 0, 0, 0), mar = c(0, 0, 1.7, 0), new = TRUE)
  graphics::plot.new()
  graphics::legend(
    "top", c(paste0(shown$title, ":"), shown$keys), col = c(NA, shown$key_colours),
    pch = c(NA, shown$key_symbols), horiz = TRUE, bty = "n"
  )
}
