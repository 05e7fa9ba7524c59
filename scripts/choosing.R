# SPDX-License-Identifier: GPL-3.0-or-later
# The numbers and pictures of docs/choosing.md, from the alpine example; a few minutes. In the root
# of the sources, with the R package installed:
#     KELPRA=build/release/kelpra Rscript scripts/choosing.R           # numbers, to the screen
#     KELPRA=build/release/kelpra Rscript scripts/choosing.R pictures  # docs/pictures/*.png
# or any of the parts named at the end.

library(kelpra)
options(kelpra.program = normalizePath(Sys.getenv("KELPRA", "build/release/kelpra")), width = 100)

table_of <- function(name) {
  read.csv(system.file("extdata", paste0("aravo_", name, ".csv"), package = "kelpra"),
           row.names = 1, check.names = FALSE)
}
traits <- table_of("traits")
community <- table_of("community")
site <- table_of("environment")[c("Aspect", "Slope", "PhysD", "Snow")]
shown <- c("r(TE)", "r(XE)", "r(XE.T)", "r(RE)", "r(XE.TR)")

aravo <- function(types = eight, columns = names(traits)) {
  suppressMessages(kelpra_data(traits[columns], community, site, types = types))
}
eight <- local({
  x <- suppressMessages(kelpra_data(traits, community, site, types = 8))
  setNames(x$types$membership, rownames(x$B))
})

# One line: value and P of the statistics, P being the larger one where there are two.
line <- function(label, fit, names = shown) {
  s <- fit$statistics[match(names, fit$statistics$name), ]
  cat(sprintf("%-24s", label), sprintf("%8s %6.3f P %.4f", s$name, s$value, s$P), "\n")
}
both <- function(x, ...) kelpra_max(x, iterations = 9999, seed = 1, progress = FALSE, ...)
taxa <- function(x, ...) kelpra(x, iterations = 9999, seed = 1, progress = FALSE, ...)
head_line <- function(text) cat("\n== ", text, "\n", sep = "")

types <- function() {
  head_line("types; P of the taxa shuffle")
  file <- setNames(scan("examples/aravo/types.txt", quiet = TRUE), rownames(traits))
  genus <- setNames(sub(" .*", "", rownames(traits)), rownames(traits))
  ways <- list(`4` = 4, `6` = 6, `8` = 8, `12` = 12, genera = genus, species = "species",
               `types.txt` = file)
  for (fuzzy in c(TRUE, FALSE)) for (way in names(ways)) {
    line(paste(if (fuzzy) "fuzzy" else "crisp", way), taxa(aravo(ways[[way]]), fuzzy = fuzzy),
         c("r(XE)", "r(XE.T)", "r(XE.TR)"))
  }
}

measures <- function() {
  head_line("measures; larger P of both shuffles")
  for (m in c("mantel", "procrustes", "rv")) line(m, both(aravo(), measure = m))
}

partial <- function() {
  head_line("traits together; P of the taxa shuffle")
  sets <- list(names(traits), c("Height", "SLA", "Nmass", "Seed"), c("SLA", "Nmass"),
               c("SLA", "Area"))
  for (set in sets) for (m in c("mantel", "rv")) {
    line(paste(m, if (length(set) == 8) "all" else paste(set, collapse = "+")),
         taxa(aravo(8, set), measure = m), shown[1:3])
  }
}

# Convergence and nothing else: an OTU is most abundant where the site equals its first trait, and
# all have the same tolerance. The second trait, if there is one, is noise.
converging <- function(set, measure, n_traits) {
  set.seed(1000 + set)
  e <- runif(40, -1.5, 1.5)
  optimum <- runif(40, -2, 2)
  W <- matrix(rpois(1600, 10 * exp(-outer(e, optimum, "-")^2 / (2 * 0.8^2))), 40)
  dimnames(W) <- list(paste0("site", 1:40), paste0("otu", 1:40))
  noise <- rnorm(40)
  keep <- colSums(W) > 0
  B <- data.frame(optimum, noise, row.names = colnames(W))[keep, seq_len(n_traits), drop = FALSE]
  site <- data.frame(e, row.names = rownames(W))
  x <- suppressMessages(kelpra_data(B, W[, keep], site, types = 6))
  kelpra(x, measure, iterations = 199, seed = set, progress = FALSE)$statistics
}
simulated <- function(sets = 200) {
  head_line(paste("share of", sets, "sets with P at most 0.05, pure convergence, taxa shuffle"))
  for (n_traits in 2:1) for (m in c("mantel", "procrustes", "rv")) {
    P <- vapply(seq_len(sets), function(i) {
      s <- converging(i, m, n_traits)
      s$P[match(c(shown, "r(XY_T)"), s$name)]
    }, numeric(6))
    cat(n_traits, "traits,", m, sprintf("%s %.3f", c(shown, "r(XY_T)"), rowMeans(P <= 0.05)), "\n")
  }
}

missing_cells <- function() {
  head_line("trait cells missing at random; P of the taxa shuffle")
  for (share in c(0.05, 0.1, 0.2)) for (seed in 1:3) {
    set.seed(seed)
    cells <- as.matrix(traits)
    cells[sample(length(cells), round(share * length(cells)))] <- NA
    x <- kelpra_data(as.data.frame(cells), community, site, types = eight)
    line(paste(100 * share, "%, seed", seed), taxa(x), shown[1:4])
  }
  head_line("the rarest species left out")
  shares <- community / rowSums(community)
  rare <- names(sort(colSums(shares)))
  for (k in c(8, 16, 32)) {
    kept <- setdiff(rownames(traits), rare[1:k])
    x <- kelpra_data(traits[kept, ], community[, kept], site, types = eight[kept])
    line(paste(k, "species"), taxa(x), shown[1:4])
    gone <- rowSums(shares[, rare[1:k]])
    cat(sprintf("   %.3f of abundance, at most %.3f of a plot\n", mean(gone), max(gone)))
  }
}

graminoids <- function() {
  head_line("shuffled within graminoids and other plants")
  words <- c("Agrostis", "Alopecurus", "Anthoxanthum", "Helictotrichon", "Avenula", "Carex",
             "Festuca", "Kobresia", "Luzula", "Poa", "Sesleria")
  grass <- sub(" .*", "", rownames(traits)) %in% words
  cat(sum(grass), "graminoids,", sum(!grass), "others\n")
  within <- setNames(ifelse(grass, "graminoid", "other"), rownames(traits))
  line("unrestricted", taxa(aravo()), shown[1:4])
  line("within", taxa(aravo(), within = within), shown[1:4])
}

example <- function() {
  head_line("the example: larger P of both shuffles, Holm over the statistics shown")
  fit <- both(aravo())
  s <- fit$statistics[match(shown, fit$statistics$name),
                      c("name", "value", "P_taxa", "P_sites", "P")]
  print(cbind(s, Holm = p.adjust(s$P, "holm")), row.names = FALSE, digits = 3)
  x <- aravo()
  run <- fit$fits$taxa
  head_line("correlations of means and of diversity with the variables")
  print(round(rbind(cor(run$matrices$T, x$E), cor(run$diversity[c("D", "Rf", "FR")], x$E)), 2))
  head_line("means over the plots of the earliest and the latest snowmelt")
  print(table(season(x)))
  each <- cbind(run$matrices$T, run$diversity[c("D", "Rf", "FR")], species = rowSums(x$W > 0))
  print(aggregate(each, list(season(x)), mean), digits = 3)
  head_line("each trait alone, r(TE); Holm over the eight")
  print(traits_alone(traits), row.names = FALSE, digits = 3)
}

# The plots of the two ends of the gradient.
season <- function(x) {
  day <- x$E[, "Snow"]
  ifelse(day <= 150, "early", ifelse(day >= 190, "late", NA))
}

# Skewed traits as logarithms; types as before, so that the scale alone is different.
logarithms <- function() {
  head_line("logarithms of all but leaf angle and nitrogen")
  logs <- traits
  for (name in setdiff(names(logs), c("Angle", "Nmass"))) {
    logs[[name]] <- log(logs[[name]] + if (any(logs[[name]] == 0)) 1 else 0)
  }
  x <- kelpra_data(logs, community, site, types = eight)
  for (m in c("mantel", "rv")) {
    s <- both(x, measure = m)$statistics
    s <- s[match(shown, s$name), c("name", "value", "P_taxa", "P_sites", "P")]
    print(cbind(measure = m, s, Holm = p.adjust(s$P, "holm")), row.names = FALSE, digits = 3)
  }
  run <- kelpra(x, tests = FALSE, progress = FALSE)
  each <- cbind(run$diversity[c("D", "Rf", "FR")], species = rowSums(x$W > 0))
  print(aggregate(each, list(season(x)), mean), digits = 3)
  head_line("each trait alone, r(TE); Holm over the eight")
  print(traits_alone(logs), row.names = FALSE, digits = 3)
}

traits_alone <- function(table) {
  alone <- do.call(rbind, lapply(names(table), function(name) {
    x <- kelpra_data(table[name], community, site, types = eight)
    s <- both(x)$statistics
    cbind(trait = name, s[s$name == "r(TE)", c("value", "P_taxa", "P_sites", "P")])
  }))
  cbind(alone, Holm = p.adjust(alone$P, "holm"))
}

pictures <- function(folder = "docs/pictures") {
  dir.create(folder, showWarnings = FALSE)
  fit <- both(aravo())
  draw <- function(name, width, height, ...) {
    grDevices::png(file.path(folder, paste0(name, ".png")), width, height, res = 90, type = "cairo",
                   antialias = "gray")
    plot(fit, ...)
    grDevices::dev.off()
  }
  draw("aravo-tests", 680, 400, "statistics")
  draw("aravo-means", 560, 560, "means", variables = c("PhysD", "Snow"),
       traits = c("Height", "SLA", "Nmass", "Seed"))
  draw("aravo-diversity", 560, 440, "diversity", variables = c("PhysD", "Snow"))
  draw("aravo-ordination", 680, 420, "ordination", colour = "Snow")
}

parts <- list(
  types = types, measures = measures, partial = partial, simulated = simulated,
  missing = missing_cells, graminoids = graminoids, example = example, logarithms = logarithms,
  pictures = pictures
)
wanted <- commandArgs(TRUE)
if (length(wanted) == 0) wanted <- setdiff(names(parts), "pictures")
for (name in wanted) parts[[name]]()
