// What a POSIX machine supplies. Nothing process-wide is changed but by who listens for signals, takes the
// arguments or fills the standard streams.
#pragma once

#include <vector>

#include "platform/host.h"
#include "platform/machine.h"
#include "platform/object.h"

namespace iqrx::platform::posix {

// Locale and time zone are those of the environment when it is made; its ports are borrowed from it.
std::shared_ptr<const Machine> CreateMachine();

std::unique_ptr<TextFiles> CreateTextFiles();
std::unique_ptr<XmlDocument> CreateXmlDocument();  // an empty one

std::filesystem::path ProgramFile();

// The words that a process was started with; afterwards everybody who lists the machine's processes reads ***
// in the place of their passwords. Until then they read them.
std::vector<std::string> TakeArguments(int argc, char** argv);

// Opens /dev/null in the place of each standard stream that is closed. Otherwise the next file that is opened
// would get its number and, with it, what is printed.
void FillStandardStreams();

// Files are held by flock(2): it belongs to an open file and not to a process, so that two threads exclude
// each other as two processes do, and flock(1) and lslocks(8) show who holds a sheet. A question whether a
// file is held takes a shared lock for a moment; who wants the file for itself tells such a question from a
// holder and tries again.
std::unique_ptr<Host> CreateHost();

// While it lives, the first of SIGINT, SIGTERM and SIGHUP asks to stop, by its name, and the next one ends
// the process at once, as if nobody handled it; SIGUSR1 asks how far the work is. A signal that was ignored
// before, as nohup has it for SIGHUP, stays so. One at a time in a process; afterwards the signals mean what
// they meant before.
std::unique_ptr<StopRequest> ListenForStopSignals();

// The instance registry "iQRXyInstHandler.InstanceHandle" of a machine without one: what a request calls on
// it and on the caller's instance object is appended to a file or FIFO, one JSON object a line. Without a
// file there is no registry. The first object that is created opens the file, which waits for a FIFO's
// reader; it stays open as long as the factory and the objects, so that the reader sees one stream. Creating
// one raises RuntimeError 429 for every other class, without a file, and when it can't be opened.
std::unique_ptr<ObjectFactory> CreateInstanceRegistries(std::optional<std::filesystem::path> file);

}  // namespace iqrx::platform::posix
