// SPDX-License-Identifier: GPL-3.0-or-later
// What a user is told when something is wrong.
#pragma once

#include <cstdarg>

/// Writes to standard error after whatever waits on standard output, so that a terminal shows both
/// in the order in which they were said.
[[gnu::format(printf, 1, 2)]] void Complain(const char* format, ...);

/// BEL on standard output.
void Bell();
