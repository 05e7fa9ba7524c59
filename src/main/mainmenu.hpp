// SPDX-License-Identifier: GPL-3.0-or-later
// The main menu.
#pragma once

/// Reads the preferences, then asks for ever; ends the process at X.
void MainMenu();
