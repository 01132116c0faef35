#pragma once

#include "app/Options.h"

namespace Morvalin::App {

// One function for each command. They return the program's exit status; Refusal is thrown for what
// ends the command before anything is opened.

/// Prints the algorithms of the plug-ins.
int listAlgorithms(const Options& options);

/// Prints what the serial port names stand for, and in what condition each port is.
int listPorts(const Options& options);

/// Prints where this program comes from, and the plug-ins that are found.
int printVersion();

/// Prints the settings of one algorithm's stream.
int describeAlgorithm(const Options& options);

/// Creates one algorithm and prints the frames of its stream.
int streamAlgorithm(const Options& options);

/// Does so for every algorithm of a workspace.
int runWorkspace(const Options& options);

/// Hands the frames of a recording to the outputs, as they came.
int playRecording(const Options& options);

/// Shows the window, with a workspace if one is named, until it is closed.
int runWindow(const Options& options);

} // namespace Morvalin::App
