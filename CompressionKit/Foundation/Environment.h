#pragma once

namespace tarnwick {

/// Sets up what this program and its child processes need. Call it first in main(), before any thread starts
/// and before Qt reads the locale.
///
/// - No file that is opened later gets the descriptor of a standard stream that was closed when the program
///   started: what is printed to that stream would be written into the file. Printing still fails.
/// - Where the locale is missing, not installed or not UTF-8, C.UTF-8 is chosen: all texts and, for Qt, all
///   file names are UTF-8.
/// - OMP_WAIT_POLICY is "passive" unless the user has set it: waiting OpenMP threads of one tool would
///   otherwise occupy processors that another tool needs. Two runs of pngquant at the same time took longer
///   than one after the other.
void prepareEnvironment();

} // namespace tarnwick
