# SPDX-License-Identifier: GPL-3.0-or-later
# What the package says: errors that name their place, messages that can be caught.
#
# stop_kelpra(...)      an error of class "kelpra_error"; further classes tell callers what failed
# say(...)              a message of class "kelpra_message": a decision that was taken for the user
# listed(x)             "a, b, c and 4 more"
# one_of(x, allowed, what)  x if it is one of the allowed words (or the first of them if untouched)

stop_kelpra <- function(..., class = NULL) {
  condition <- structure(
    class = c(class, "kelpra_error", "error", "condition"),
    list(message = paste0(...), call = NULL)
  )
  stop(condition)
}

say <- function(...) {
  condition <- structure(
    class = c("kelpra_message", "message", "condition"),
    list(message = paste0(..., "\n"), call = NULL)
  )
  message(condition)
}

listed <- function(x, most = 8) {
  x <- as.character(x)
  if (length(x) > most) x <- c(x[seq_len(most)], paste(length(x) - most, "more"))
  if (length(x) < 2) return(paste(x, collapse = ""))
  paste(paste(x[-length(x)], collapse = ", "), "and", x[length(x)])
}

quoted <- function(x) paste0("'", x, "'", recycle0 = TRUE)

one_of <- function(x, allowed, what) {
  if (identical(x, allowed)) return(allowed[1])
  if (is.character(x) && length(x) == 1 && !is.na(x) && x %in% allowed) return(x)
  stop_kelpra(what, " must be one of ", listed(quoted(allowed)), ".")
}
