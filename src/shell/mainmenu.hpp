// Start-up, the main menu, and a session from its opening to its end.
#pragma once

/// GSL's error handler off, defaults, clocks, banner, main menu. Does not return.
void mainInit();
/// All defaults of the shell.
void InitGlobals();
/// The main loop; ends the process at X.
void MainMenu();
/// Loads the session named in `console` and runs its menus; the one place to which a failure in a
/// session returns.
void IFSession();
