// An extract directory of a test's own, and short ways to call the ERP that it is served by.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "erp/extract/extract_erp.h"
#include "platform/conversions.h"
#include "platform/date.h"
#include "platform/error.h"

namespace iqrx::erp::extract {

using platform::ByRef;
using platform::Call;
using platform::Long;
using platform::ObjectRef;
using platform::Value;

inline constexpr FieldLayout kTypeFields[] = {
    {"getServiceType", "cstp", FieldKind::Text, true},
    {"getServiceTypeDescription", "desc"},
    {"getGenDefaultAssignment", "dahe", FieldKind::Whole},
    {"getRate", "rate", FieldKind::Real},
    {"getOrderDate", "ordt", FieldKind::Date},
};
inline constexpr TableLayout kTypes{"tsmdm030", kTypeFields};
// The same table with fewer fields, where a test needs no more.
inline constexpr TableLayout kTypeCodes{"tsmdm030", std::span(kTypeFields).first(1)};
inline constexpr TableLayout kTypeTexts{"tsmdm030", std::span(kTypeFields).first(2)};

inline constexpr FieldLayout kOrderFields[] = {
    {"getServiceOrder", "orno", FieldKind::Text, true},
    {"getActivityLineNumber", "acln", FieldKind::Whole, true},
    {"getActivityStatus", "asta", FieldKind::Whole, false, true},
    {"getDescription", "desc"},
};
inline constexpr TableLayout kActivities{"tssoc210", kOrderFields};

inline constexpr FieldLayout kObjectFields[] = {
    {"getConfiguration", "ccfg", FieldKind::Text, true},
    {"GetObject", "crob", FieldKind::Text, true},
    {"getObjectNumber", "oseq", FieldKind::Whole, true},
    {"getDescription", "desc"},
};
inline constexpr TableLayout kObjects{"tscfg200", kObjectFields};

inline constexpr const char* kCalendarHeader =
    "calendar,availability_type,start_date,start_time,end_date,end_time,cumulative_time,"
    "cumulative_capacity,start_utc,end_utc";

inline std::string Highest(std::size_t width) { return std::string(width, '\x7f'); }

inline platform::Date At(std::string_view text) { return platform::ParseIsoDate(text).value(); }

class Extract : public testing::Test {
protected:
    Extract() {
        const auto* test = testing::UnitTest::GetInstance()->current_test_info();
        directory = std::filesystem::temp_directory_path() /
                    (std::string("iqrx-extract-") + test->test_suite_name() + "-" + test->name());
        std::filesystem::remove_all(directory);
        std::filesystem::create_directories(directory);
        erp = OpenExtract(directory);
    }
    ~Extract() override {
        erp.reset();
        std::error_code ignored;
        std::filesystem::remove_all(directory, ignored);
    }

    void Write(const std::string& file, std::string_view text) {
        std::ofstream(directory / file, std::ios::binary) << text;
    }

    std::string PathOf(const std::string& file) const { return (directory / file).string(); }

    // The getter's answers of all elements, as texts; Null reads "Null".
    static std::vector<std::string> Collect(const Value& enumerator, const std::string& getter) {
        std::vector<std::string> answers;
        platform::Object& elements = *platform::ToObject(enumerator);
        while (platform::ToBoolean(Call(elements, "hasMoreElements")))
            answers.push_back(TextOf(Call(*platform::ToObject(Call(elements, "nextElement")), getter)));
        return answers;
    }

    static std::string TextOf(const Value& value) {
        if (value.Is<platform::Null>()) return "Null";
        if (value.Is<platform::Date>()) return platform::IsoDateTime(value.As<platform::Date>());
        return platform::ToText(value);
    }

    // A page of the listing under the call id; 0 begins one.
    static ObjectRef Objects(platform::Object& manager, Value& callId, Value& complete, Long pageSize) {
        return platform::ToObject(Call(manager, "ListObjects", std::string(), std::string(), Long{0},
                                       pageSize, ByRef{callId}, ByRef{complete}));
    }
    static ObjectRef Intervals(platform::Object& manager, const std::string& from, const std::string& to,
                               Value& callId, Value& complete, Long size = 750) {
        Value pageSize = size;
        return platform::ToObject(Call(manager, "ListUTCActualCalendarForQRX", from, to, std::string(),
                                       Highest(6), std::string("2000-01-01"), std::string("2038-02-29"),
                                       platform::Integer{0}, platform::Integer{2400}, ByRef{pageSize},
                                       ByRef{callId}, ByRef{complete}));
    }

    // The description of the run-time error that the action raises.
    template <class Action>
    static std::string ErrorOf(Action action) {
        try {
            action();
        } catch (const platform::RuntimeError& error) {
            EXPECT_EQ(error.source, "ERP extract");
            return error.description;
        }
        return "(no error)";
    }

    static bool Contains(const std::string& text, const std::string& part) {
        return text.find(part) != std::string::npos;
    }

    std::filesystem::path directory;
    std::unique_ptr<Erp> erp;
};

}  // namespace iqrx::erp::extract
