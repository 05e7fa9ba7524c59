# SPDX-License-Identifier: GPL-3.0-or-later
# Power and type I error of a model over many data sets, on the workers that the plan names.
#
#   Rscript power.R                    on the cores of this machine
#   Rscript power.R batchtools.tmpl    each share of the batches as a job of Slurm
#
# Stopped half-way, it goes on where it was when it is started again: each batch that is done is kept
# in the folder.

library(kelpra)

template <- commandArgs(TRUE)
if (length(template)) {
  future::plan(
    future.batchtools::batchtools_slurm, template = template[1], workers = 50,
    resources = list(walltime = 3600, memory = 1000)
  )
} else {
  cores <- as.integer(Sys.getenv("SLURM_CPUS_PER_TASK", parallel::detectCores()))
  future::plan("multisession", workers = cores)
}

model <- list(
  sites = 30, otus = 20, individuals = 20, years = 20, processors = 1,
  env_cor = rbind(c(1, 0.2), c(0.2, 1)), trait_cor = rbind(c(1, 0.3), c(0.3, 1))
)
study <- function(responses, folder) {
  dimnames(responses) <- list(c("height", "leaf"), c("water", "light"))
  do.call(kelpra_power, c(
    list(responses, sets = 10000, batch = 100, iterations = 999, seed = 1, folder = folder), model
  ))
}

# Height follows the water: the rate is the power.
power <- study(rbind(c(0.5, 0), c(0, 0)), "power")
print(power)

# No trait follows anything: the rate is the type I error.
error <- study(matrix(0, 2, 2), "error")
print(error)

write.csv(as.data.frame(power), "power.csv", row.names = FALSE)
write.csv(as.data.frame(error), "error.csv", row.names = FALSE)
svg("power.svg", 7, 5)
plot(power)
dev.off()
