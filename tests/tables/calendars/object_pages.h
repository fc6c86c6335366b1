#pragma once

#include <algorithm>
#include <memory>

#include "platform/conversions.h"
#include "support/recording_erp.h"

namespace iqrx::testing {

// Lets the manager serve the fake's records in pages of the size asked for, as ListObjects does.
inline void ServeObjectPages(RecordingErp& erp) {
    auto next = std::make_shared<std::size_t>(0);
    erp.onManagerMember = [&erp, next](std::string_view member,
                                       std::span<platform::Argument> arguments) -> platform::Value {
        if (member != "ListObjects") return {};
        const std::size_t first = *next;
        const std::size_t size = std::min<std::size_t>(
            erp.records.size() - first, static_cast<std::size_t>(platform::ToLong(arguments[3].value)));
        *next += size;
        const bool complete = *next == erp.records.size();
        auto objects = std::make_shared<FakeObject>(
            "page objects", &erp.calls, [&erp, first, size](auto asked, auto index) -> platform::Value {
                if (asked == "sizeObjects") return static_cast<platform::Long>(size);
                const auto number = first + static_cast<std::size_t>(platform::ToLong(index[0].value));
                return erp.MakeRecord(erp.records.at(number), "record " + std::to_string(number + 1));
            });
        return std::make_shared<FakeObject>("page", &erp.calls,
                                            [objects, complete](auto asked, auto) -> platform::Value {
                                                if (asked == "getRecordSetObjects")
                                                    return platform::ObjectRef(objects);
                                                if (asked == "getCallId") return platform::Long{42};
                                                return std::string(complete ? "Y" : "N");
                                            });
    };
}

}  // namespace iqrx::testing
