#include "qrxctl/look.h"

#include <utility>

#include "platform/error.h"
#include "qrxctl/reading.h"

namespace iqrx::qrxctl {

template <class Question>
auto Look::Ask(Question question) {
    const auto ask = [&] {
        if (!std::exchange(isOpen_, true))
            session_.OpenDatabase(options_.connection, options_.database, PlatformNumber(options_));
        auto answer = question();
        session_.Commit();  // a transaction that stayed open would keep what the request changes
        return answer;
    };
    const bool mayBeLost = isOpen_;
    try {
        return ask();
    } catch (const platform::RuntimeError&) {
        session_.CloseDatabase();
        isOpen_ = false;
        if (!mayBeLost) throw;
    }
    return ask();
}

platform::Date Look::LastUpdate(const std::string& table) {
    return Ask([&] { return control::ControlTables(clock_, session_).GetTableLastUpdate(table); });
}

std::int64_t Look::Count(const platform::Statement& question) {
    return Ask([&] { return NumberFrom(session_, question); });
}

}  // namespace iqrx::qrxctl
