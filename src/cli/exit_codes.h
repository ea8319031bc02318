// Exit statuses of the command line.
#pragma once

namespace kvl::cli {

enum ExitCode : int {
  EXIT_OK = 0,
  EXIT_FAILED = 1,     // the scene could not be loaded, or no output file was written
  EXIT_USAGE = 2,      // the command line itself was wrong, or a --set the dialog cannot take
  EXIT_CANCELLED = 3,  // the options dialog ended with Cancel (--cancel, or a value it refused)
  EXIT_UNREADABLE = 2,  // inspect, validate: the file could not be opened or read at all
  // Stopped at the user's request: 128 + the signal, as a shell reports a
  // program that the signal ended.
  EXIT_HANGUP = 129,       // SIGHUP: the terminal went away
  EXIT_INTERRUPTED = 130,  // SIGINT: Ctrl-C
  EXIT_TERMINATED = 143,   // SIGTERM
};

}  // namespace kvl::cli
