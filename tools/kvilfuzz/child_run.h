// A child process's batch of runs. Each run resets the machine from the image,
// damages it as its seed says, loads the library afresh (no cached product
// version or added-files list carries over from the run before) and drives every
// host the way the setup tool does: Exist, Info, Avail and Check for every tool,
// then Attach and Detach of every tool for Russian. Afterwards every host file
// the seeder made must still be there or have its backup beside it.
#pragma once

#include "command_line.h"

namespace kvilfuzz {

// Reports every event on the standard output (protocol.h); a crash of the
// library ends the process with kExitCrashReported after its report. Throws
// when the machine cannot be reset or the library cannot be loaded.
void RunBatch(const ChildOptions& batch);

}  // namespace kvilfuzz
