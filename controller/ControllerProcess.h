#pragma once

/// The program quorel2-controller: reads the options, prints one line when it listens, and runs
/// until it is interrupted or terminated.
/// @return exit status: 0, or 1 when an option or the scenario is wrong or the address is in use
int runControllerProcess(int argc, char **argv);
