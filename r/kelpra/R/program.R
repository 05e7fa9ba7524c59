# SPDX-License-Identifier: GPL-3.0-or-later
# The program: where it is, and a run of it under watch.
#
# kelpra_program()                   its path, or an error that says how to name it
# own_folder(folder)                 an empty folder for a run; NULL gives a temporary one
# run_program(folder, answers, ...)  plays the answers in the folder, shows progress, stops at any
#                                    sign of trouble; gives list(seconds, program). screen.txt,
#                                    errors.txt and answers.txt stay in the folder.
#
# A failure is an error of class "kelpra_failure"; its field folder says where everything lies.

kelpra_program <- function() {
  installed <- path.expand(
    c("/usr/local/bin/kelpra", "/usr/bin/kelpra", "/opt/homebrew/bin/kelpra", "~/.local/bin/kelpra")
  )
  named <- list(
    `the option kelpra.program` = getOption("kelpra.program", ""),
    `the variable KELPRA` = Sys.getenv("KELPRA")
  )
  for (source in names(named)) {
    path <- named[[source]]
    if (!nzchar(path)) next
    if (file.access(path, 1) == 0 && !dir.exists(path)) return(normalizePath(path))
    stop_kelpra(
      "There is no program at ", quoted(path), ", which ", source, " names.",
      class = "kelpra_no_program"
    )
  }
  found <- c(unname(Sys.which("kelpra")), installed[file.access(installed, 1) == 0])
  found <- found[nzchar(found)]
  if (length(found)) return(normalizePath(found[1]))
  stop_kelpra(
    "The program kelpra was not found. Install it, or name it: ",
    "options(kelpra.program = \"/path/to/kelpra\"), or the environment variable KELPRA.",
    class = "kelpra_no_program"
  )
}

own_folder <- function(folder) {
  if (is.null(folder)) folder <- tempfile("kelpra-")
  if (length(list.files(folder))) {
    stop_kelpra("The folder ", quoted(folder), " is not empty; a run needs one of its own.")
  }
  if (!dir.exists(folder) && !dir.create(folder, recursive = TRUE, showWarnings = FALSE)) {
    stop_kelpra("The folder ", quoted(folder), " cannot be made.")
  }
  normalizePath(folder)
}

# Signs of a run out of step, on the screen or among the errors, and what they mean.
troubles <- c(
  "Incorrect input = [^\n]*" = "it was given an answer that it does not accept",
  "END OF FILE !!!" = "it met the end of a file, or of the answers, too early",
  "End of file [^\n]*" = "it met the end of a file, or of the answers, too early",
  "can't open [^\n]*" = "it could not open a file",
  "OUT OF MEMORY !!!" = "the memory of this machine is too small for the data",
  "FAIL TO [A-Z ]+ FILE !!!" = "it could not write or open a file (is the disk full?)",
  "Error!! [^\n]*" = "it was given an answer that it does not accept",
  "[^\n]*\nSorry, you have to quit" = "it gave up"
)

run_program <- function(folder, answers, program = kelpra_program(), label = "KELPRA",
                        progress = interactive(), patience = 20, timeout = Inf,
                        step = progress_step) {
  write_lines(answers, file.path(folder, "answers.txt"))
  # Not cleanup_tree, which the program, having no children, does not need: it knows its processes by
  # marks from R's random numbers, and after set.seed() an ended run would take the next one with it.
  run <- processx::process$new(
    program, wd = folder, stdin = file.path(folder, "answers.txt"), stdout = "|", stderr = "|"
  )
  on.exit(run$kill(), add = TRUE)
  bar <- progress_bar(label, progress, step)
  on.exit(bar$close(), add = TRUE)
  started <- proc.time()[["elapsed"]]
  watched <- watch(run, folder, bar, patience, timeout)
  if (!is.null(watched$trouble)) {
    run$kill()
    fail(folder, watched$trouble, watched$screen)
  }
  if (!identical(run$get_exit_status(), 0L)) {
    fail(folder, paste("it ended with status", run$get_exit_status()), watched$screen)
  }
  list(seconds = proc.time()[["elapsed"]] - started, program = program)
}

# Reads both streams to their end. A program that neither says nor computes anything for the seconds
# of patience waits for an answer that will not come.
watch <- function(run, folder, bar, patience, timeout) {
  logs <- lapply(
    c(screen = "screen.txt", errors = "errors.txt"),
    function(name) file(file.path(folder, name), "wb")
  )
  on.exit(lapply(logs, close))
  tail <- c(screen = "", errors = "")
  started <- heard <- proc.time()[["elapsed"]]
  busy <- 0
  repeat {
    alive <- run$is_alive()
    run$poll_io(200)
    new <- c(screen = run$read_output(), errors = run$read_error())
    for (stream in names(new)) {
      cat(new[[stream]], file = logs[[stream]])
      tail[[stream]] <- last_part(paste0(tail[[stream]], new[[stream]]))
    }
    bar$text(new[["screen"]])
    trouble <- trouble_in(tail)
    now <- proc.time()[["elapsed"]]
    if (is.null(trouble) && now - started > timeout) {
      trouble <- paste("it took longer than", timeout, "seconds")
    }
    if (any(nzchar(new))) {
      heard <- now
      busy <- used_time(run)
    }
    if (is.null(trouble) && alive && now - heard > patience) {
      gained <- used_time(run) - busy
      if (!is.na(gained) && gained < 0.02 * patience) {
        trouble <- paste("it has neither said nor done anything for", patience, "seconds")
      }
      heard <- now
      busy <- used_time(run)
    }
    if (!is.null(trouble)) return(list(trouble = trouble, screen = tail))
    if (!alive && !any(nzchar(new)) && !run$is_incomplete_output() && !run$is_incomplete_error()) {
      return(list(screen = tail))
    }
  }
}

last_part <- function(text, most = 4000) {
  size <- nchar(text, "bytes")
  if (size <= 2 * most) return(text)
  bytes <- charToRaw(text)
  rawToChar(bytes[seq(size - most + 1, size)])
}

trouble_in <- function(tail) {
  for (sign in names(troubles)) {
    for (text in tail) {
      at <- regexpr(sign, text, useBytes = TRUE)
      if (at > 0) return(paste0(troubles[[sign]], " (", quoted(trimws(regmatches(text, at))), ")"))
    }
  }
  NULL
}

# NA if it has just ended.
used_time <- function(run) {
  tryCatch(sum(run$get_cpu_times()[c("user", "system")]), error = function(e) NA)
}

# A temporary folder is gone when R ends, so that of a failed run moves out of it.
fail <- function(folder, trouble, screen) {
  folder <- lasting_folder(folder)
  lines <- strsplit(screen[["screen"]], "\n", fixed = TRUE)[[1]]
  lines <- utils::tail(lines[grepl("[^ ]", lines, useBytes = TRUE)], 4)
  condition <- structure(
    class = c("kelpra_failure", "kelpra_error", "error", "condition"),
    list(
      message = paste0(
        "The program was stopped: ", trouble, ".\nIts last words:\n",
        paste0("  ", lines, collapse = "\n"),
        "\nAll files are in ", folder, "."
      ),
      call = NULL, folder = folder, trouble = trouble
    )
  )
  stop(condition)
}

lasting_folder <- function(folder) {
  if (interactive() || !startsWith(folder, normalizePath(tempdir()))) return(folder)
  lasting <- tempfile("kelpra-failed-", tmpdir = dirname(normalizePath(tempdir())))
  if (file.rename(folder, lasting)) lasting else folder
}

# --- progress ----------------------------------------------------------------------------------

# bar$text(screen): shows how far the program is; step(screen) reads c(done, of) off what it has
# just printed, or gives NULL. bar$close() wipes the line.
progress_bar <- function(label, show, step = progress_step) {
  started <- proc.time()[["elapsed"]]  # the bar is redrawn five times a second at most
  shown <- 0
  list(
    text = function(screen) {
      seconds <- proc.time()[["elapsed"]] - started
      if (!show || seconds - shown < 0.2 || is.null(at <- step(screen))) return(invisible())
      left <- seconds / at[1] * (at[2] - at[1])
      done <- round(30 * at[1] / at[2])
      cat(sprintf(
        "\r%s [%s%s] %3.0f %%, %s left   ", label, strrep("=", done), strrep(" ", 30 - done),
        100 * at[1] / at[2], in_words(left)
      ), file = stderr())
      shown <<- seconds
    },
    close = function() if (shown > 0) cat("\r", strrep(" ", 79), "\r", sep = "", file = stderr())
  )
}

progress_step <- function(screen) {
  found <- regmatches(screen, gregexpr("[0-9]+ of [0-9]+[ ,]", screen, useBytes = TRUE))[[1]]
  if (!length(found)) return(NULL)
  step <- as.numeric(strsplit(sub(".$", "", utils::tail(found, 1)), " of ")[[1]])
  if (step[1] >= 1 && step[1] <= step[2]) step
}

in_words <- function(seconds) {
  if (seconds < 90) return(sprintf("%.0f s", seconds))
  if (seconds < 5400) return(sprintf("%.0f min", seconds / 60))
  sprintf("%.1f h", seconds / 3600)
}
