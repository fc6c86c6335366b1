// Who hears of a wait for a database that another program holds.
#pragma once

#include <chrono>
#include <filesystem>
#include <functional>
#include <string>

namespace iqrx::platform {

// Hears of a wait after three seconds and each second then; returns whether it goes on. A wait that does not
// ends as at its limit: the statement fails. Must not raise. Called by the thread that waits.
using WaitListener = std::function<bool(std::chrono::seconds waited, const std::filesystem::path& file)>;

// One that lets each wait go on, and tells of it in one line after each minute.
WaitListener TellingEachMinute(std::function<void(const std::string& text)> tell);

}  // namespace iqrx::platform
