# SPDX-License-Identifier: GPL-3.0-or-later
library(testthat)
library(kelpra)

test_check("kelpra")
