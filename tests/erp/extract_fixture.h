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

inline constexpr FieldLayout kOrderFields[] = {
    {"getServiceOrder", "orno", FieldKind::Text, true},
    {"getActivityLineNumber", "acln", FieldKind::Whole, true},
    {"getActivityStatus", "asta", FieldKind::Whole, false, true},
    {"getDescription", "desc"},
};
inline constexpr TableLayout kActivities{"tssoc210", kOrderFields};

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
