// The calendar service: Initialize, ListUTCActualCalendarForQRX, Close.
#pragma once

#include <filesystem>
#include <optional>

#include "erp/extract/calendar_index.h"
#include "erp/extract/paging.h"
#include "platform/error.h"

namespace iqrx::erp::extract {

class CalendarManager final : public platform::Object {
public:
    explicit CalendarManager(const std::filesystem::path& directory,
                             std::size_t indexBytes = CalendarIndex::kMostBytes);
    Value Invoke(std::string_view member, std::span<Argument> arguments) override;

private:
    Elements Select(std::span<const Argument> arguments);
    Rows RowsOf(const std::string& from, const std::string& to);
    const CalendarIndex& IndexFor(const std::string& calendar);

    std::filesystem::path path_;
    std::size_t indexBytes_;
    std::shared_ptr<SourceFile> file_;  // from the first listing on
    std::optional<CalendarIndex> index_;
    std::optional<platform::RuntimeError> failure_;  // of the index: the file would not read better a second time
    Listings listings_;
};

}  // namespace iqrx::erp::extract
