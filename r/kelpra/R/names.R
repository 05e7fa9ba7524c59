# SPDX-License-Identifier: GPL-3.0-or-later
# Names: matched between tables, and cut to what the program can hold.
#
# plain_name(x)                 lower case, blank, underscore, dot and hyphen alike
# nearest(x, pool)              for each of x the name of pool that is most like it, "" if none is
# strangers(x, pool, ...)       an error that lists the names of x that pool lacks, with the nearest
# loosen(x, pool)               x with every name that has one loose partner in pool replaced by it
# make_key(names, width)        data frame: name (the user's), label (unique, ASCII, at most width)

plain_name <- function(x) gsub("[ _.-]+", " ", trimws(tolower(x)))

nearest <- function(x, pool) {
  distance <- utils::adist(plain_name(x), plain_name(pool))
  vapply(seq_along(x), function(i) {
    best <- which.min(distance[i, ])
    close <- length(best) == 1 && distance[i, best] <= max(1, (nchar(x[i]) + 2) %/% 4)
    if (close) pool[best] else ""
  }, "")
}

with_nearest <- function(x, pool, most = 8) {
  near <- nearest(utils::head(x, most), pool)
  hint <- ifelse(near == "", "", paste0(" (nearest: ", quoted(near), ")"))
  more <- if (length(x) > most) paste("and", length(x) - most, "more")
  paste(c(paste0("  ", quoted(utils::head(x, most)), hint), more), collapse = "\n")
}

strangers <- function(x, pool, what, where, how) {
  stop_kelpra(
    what, " not found ", where, ":\n", with_nearest(x, pool), "\n", how,
    class = "kelpra_strangers"
  )
}

loosen <- function(x, pool) {
  plain <- plain_name(pool)
  partner <- match(plain_name(x), plain)
  alone <- !is.na(partner) & !plain[partner] %in% plain[duplicated(plain)]
  ifelse(!x %in% pool & alone, pool[partner], x)
}

# The program counts bytes and keeps words apart by blanks; letters of Latin-1 lose their accents.
ascii <- function(x) {
  accented <- paste0(
    "\u00c0\u00c1\u00c2\u00c3\u00c4\u00c5\u00c7\u00c8\u00c9\u00ca\u00cb\u00cc\u00cd\u00ce\u00cf",
    "\u00d1\u00d2\u00d3\u00d4\u00d5\u00d6\u00d8\u00d9\u00da\u00db\u00dc\u00dd\u00e0\u00e1\u00e2",
    "\u00e3\u00e4\u00e5\u00e7\u00e8\u00e9\u00ea\u00eb\u00ec\u00ed\u00ee\u00ef\u00f1\u00f2\u00f3",
    "\u00f4\u00f5\u00f6\u00f8\u00f9\u00fa\u00fb\u00fc\u00fd\u00ff\u00d7"
  )
  plain <- "AAAAAACEEEEIIIINOOOOOOUUUUYaaaaaaceeeeiiiinoooooouuuuyyx"
  x <- chartr(accented, plain, enc2utf8(x))
  gsub("[^ -~]", "_", x)
}

make_key <- function(names, width, blanks = FALSE) {
  plain <- gsub("[\t\r\n]", " ", ascii(names))
  if (!blanks) plain <- gsub(" +", "_", trimws(plain))
  label <- trimws(substr(plain, 1, width))
  label[label == ""] <- "_"
  for (i in which(duplicated(label))) label[i] <- free_label(plain[i], label, width)
  data.frame(name = names, label = label)
}

free_label <- function(plain, taken, width) {
  for (k in seq_len(length(taken) + 1)) {
    tail <- paste0("~", k + 1)
    label <- paste0(substr(plain, 1, width - nchar(tail)), tail)
    if (!label %in% taken) return(label)
  }
}

# Whether any name of the key reads differently in the program's files.
shortened <- function(key) key[key$name != key$label, , drop = FALSE]
