#include "erp/com/com_erp.h"

#include "platform/error.h"
#include "platform/ini_file.h"

namespace iqrx::erp::com {

namespace {

class ComErp : public Erp {
public:
    ComErp(platform::ObjectFactory& factory, const std::filesystem::path& classesFile)
        : factory_(factory), fileName_(classesFile.filename().string()), classes_(classesFile) {}

    platform::ObjectRef CreateManager(const TableLayout& layout) override {
        return CreateOf(layout.table, "Manager");
    }
    platform::ObjectRef CreateRecord(const TableLayout& layout) override {
        return CreateOf(layout.table, "Record");
    }
    platform::ObjectRef CreateObject(std::string_view progId) override {
        return factory_.CreateObject(progId);
    }

private:
    platform::ObjectRef CreateOf(std::string_view table, const std::string& role) {
        const auto progId = classes_.Find(table, role);
        if (!progId || progId->empty())
            platform::RaiseRuntimeError(platform::kCannotCreateObject,
                                        fileName_ + " names no " + role + " for " + std::string(table));
        return factory_.CreateObject(*progId);
    }

    platform::ObjectFactory& factory_;
    std::string fileName_;
    platform::IniFile classes_;
};

}  // namespace

std::unique_ptr<Erp> OpenComErp(platform::ObjectFactory& factory, const std::filesystem::path& classesFile) {
    return std::make_unique<ComErp>(factory, classesFile);
}

}  // namespace iqrx::erp::com
