# SPDX-License-Identifier: GPL-3.0-or-later
# Ecosystem variables as the program wants them.
#
# coded_env(table, types, units)  list(
#   E      communities by variables, NA where missing
#   types  1 binary, 2 nominal, 3 quantitative, 4 ordinal, by variable
#   kind   1 quantitative in the same units, 2 in different units, 3 qualitative, 4 binary,
#          5 several)

coded_env <- function(table, types = NULL, units = "different") {
  kinds <- kinds_of(table, types, "env")
  E <- coded_table(table, kinds, "env")
  check_varies(E, "env", "Leave the variable out.")
  silent <- rownames(E)[rowSums(!is.na(E)) == 0]
  if (length(silent)) {
    stop_kelpra("env: no variable is known of community ", listed(quoted(silent)), ".")
  }
  kind <- kind_of_env(kinds, units)
  types <- if (kind < 3) rep(3L, ncol(E)) else kind_codes[kinds]
  list(E = E, types = stats::setNames(types, colnames(E)), kind = kind)
}

# Ordinal variables count as quantitative ones unless another kind stands beside them.
kind_of_env <- function(kinds, units) {
  broad <- unique(ifelse(kinds == "ordinal", "quantitative", kinds))
  if (length(broad) > 1) return(5L)
  switch(broad, nominal = 3L, binary = 4L, quantitative = if (units == "same") 1L else 2L)
}
