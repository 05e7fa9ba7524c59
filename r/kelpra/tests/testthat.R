library(testthat)
library(kelpra)

test_check("kelpra")
