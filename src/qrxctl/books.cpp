#include "qrxctl/books.h"

#include <fmt/format.h>

#include <iostream>

#include "journal/timestamp.h"
#include "platform/text.h"
#include "qrxctl/lines.h"

namespace iqrx::qrxctl {

namespace {

std::filesystem::path Place(const Options& options) {
    return options.stateDirectory.empty() ? journal::StateDirectoryOf(options.connection, options.logDirectory)
                                          : platform::Path(options.stateDirectory);
}

}  // namespace

Books::Books(hosting::Composition& parts, const Options& options, journal::Use use)
    : directory(parts.Host(), parts.Machine().files, Place(options), use,
                journal::DatabaseIdOf(options.connection, options.database,
                                      PlatformNumber(options) == runtime::kOracle)) {}

control::Ports PlainPorts(hosting::Composition& parts, std::ostream& diagnostics) {
    control::Ports ports = parts.Ports(diagnostics);
    ports.databases = parts.PlainDatabases();
    return ports;
}

Workbench::Workbench(const Workplace& workplace, journal::Use use)
    : place(workplace),
      parts(place.surroundings),
      process(PlainPorts(parts, place.talk)),
      books(parts, place.options, use) {}

std::string Described(const journal::SheetText& holder) {
    std::string text = holder.by.pid > 0 ? fmt::format("pid {}", holder.by.pid) : "a process";
    std::string who = holder.program;
    if (!holder.by.user.empty()) who += (who.empty() ? "" : ", ") + holder.by.user;
    return who.empty() ? text : text + " (" + who + ")";
}

std::string DamageLine(const std::string& historyFile, const journal::Damage& damage) {
    const bool isOne = damage.lines == 1;
    const bool hasMore = damage.lines > static_cast<std::int64_t>(damage.places.size());
    return Fact("note", "history",
                fmt::format("{} of {} cannot be read: {} {}{}", Counted(damage.lines, "line"), historyFile,
                            isOne ? "line" : "lines", fmt::join(damage.places, ", "), hasMore ? " ..." : ""));
}

journal::Timestamp Moment(hosting::Composition& parts) {
    return {parts.Machine().clock.Now(), parts.Host().UtcOffsetMinutes()};
}

std::string Now(hosting::Composition& parts) { return journal::Rfc3339(Moment(parts)); }

}  // namespace iqrx::qrxctl
