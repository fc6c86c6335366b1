#include "erp/extract/extract_erp.h"

#include "erp/extract/calendar_manager.h"
#include "erp/extract/late_bound.h"
#include "erp/extract/manager.h"

namespace iqrx::erp::extract {

namespace {

class ExtractErp final : public Erp {
public:
    ExtractErp(std::filesystem::path directory, Notice notice)
        : directory_(std::move(directory)), notice_(std::move(notice)) {}

    ObjectRef CreateManager(const TableLayout& layout) override {
        return std::make_shared<Manager>(directory_, layout, notice_);
    }

    ObjectRef CreateRecord(const TableLayout& layout) override {
        return std::make_shared<Record>(layout.fields);
    }

    ObjectRef CreateObject(std::string_view progId) override {
        if (progId == "Calendars.CalendarManager") return std::make_shared<CalendarManager>(directory_);
        ObjectRef object = CreateAuditObject(progId);
        if (!object) Raise(platform::kCannotCreateObject, "The extract has no class " + std::string(progId));
        return object;
    }

private:
    std::filesystem::path directory_;
    Notice notice_;
};

}  // namespace

std::unique_ptr<Erp> OpenExtract(const std::filesystem::path& directory, Notice notice) {
    if (directory.empty())
        Raise(platform::kPathNotFound,
              "The directory is missing from the run parameter, which takes extract=DIRECTORY");
    std::error_code error;
    const auto type = std::filesystem::status(directory, error).type();
    if (type == std::filesystem::file_type::not_found)
        Raise(platform::kPathNotFound, "The extract directory " + Shown(directory) + " does not exist");
    if (error)
        Raise(platform::kPathFileAccess, Shown(directory) + " cannot be read: " + platform::CauseOf(error));
    if (type != std::filesystem::file_type::directory)
        Raise(platform::kPathNotFound, Shown(directory) + " is not a directory");
    return std::make_unique<ExtractErp>(directory, std::move(notice));
}

}  // namespace iqrx::erp::extract
