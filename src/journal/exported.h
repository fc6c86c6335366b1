// The moment that an extract shows.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "platform/host.h"

namespace iqrx::journal {

struct ExportMoment {
    std::optional<platform::Date> at;  // local time; nothing: none of the files is there
    bool isStated = false;             // by EXPORTED, not by the files' own time
    std::string problem;               // one line when EXPORTED is there and does not say when
};

// What the file EXPORTED says, otherwise the oldest change among those of the files that exist; these are the
// ones that the copy reads: "tsmdm030.csv", "tsmdm030.audit.csv", "calendars.csv". Raises nothing.
ExportMoment ExportMomentOf(const std::filesystem::path& extract, const std::vector<std::string>& files,
                            const platform::Host& host);

}  // namespace iqrx::journal
