#include "erp/extract/extract_erp.h"

#include "erp/extract/audit.h"
#include "erp/extract/calendar_manager.h"
#include "erp/extract/late_bound.h"
#include "erp/extract/manager.h"

namespace iqrx::erp::extract {

namespace {

using platform::ObjectRef;

class ExtractErp final : public Erp {
public:
    explicit ExtractErp(std::filesystem::path directory) : directory_(std::move(directory)) {}

    ObjectRef CreateManager(const TableLayout& layout) override {
        return std::make_shared<Manager>(directory_, layout);
    }

    ObjectRef CreateRecord(const TableLayout& layout) override {
        return std::make_shared<Record>(std::make_shared<RecordShape>(layout.fields));
    }

    ObjectRef CreateObject(std::string_view progId) override {
        if (progId == "Calendars.CalendarManager") return std::make_shared<CalendarManager>(directory_);
        ObjectRef object = CreateAuditObject(progId);
        if (!object) Raise(platform::kCannotCreateObject, "The extract has no class " + std::string(progId));
        return object;
    }

private:
    std::filesystem::path directory_;
};

}  // namespace

std::unique_ptr<Erp> OpenExtract(const std::filesystem::path& directory) {
    if (!Exists(directory))
        Raise(platform::kPathNotFound, "The extract directory " + Utf8(directory) + " does not exist");
    if (!std::filesystem::is_directory(directory))
        Raise(platform::kPathNotFound, Utf8(directory) + " is no directory");
    return std::make_unique<ExtractErp>(directory);
}

}  // namespace iqrx::erp::extract
