// SPDX-License-Identifier: GPL-3.0-or-later
// A session from its opening to its end: its data, the session menu, the analysis menu.
#pragma once

/// Loads the session named in `console` and runs its menus; the one place to which a failure in a
/// session returns.
void IFSession();
