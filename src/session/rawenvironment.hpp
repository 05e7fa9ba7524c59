// SPDX-License-Identifier: GPL-3.0-or-later
// The part of the raw-data dialogue that is about the ecosystem variables of the communities.
#pragma once

struct RawFile;

/// Asks about the variables and reads E, if there is one, into env, envLabel and the types. E is
/// read strictly.
/// errors    code 2 after "\nfile %s " with its name if it ends early or holds a word
void SpecifyEnvironment(RawFile& file);
