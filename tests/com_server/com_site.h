// The public classes in the test's own process, as COM calls them, on a process whose machine, database and
// scheduler are the test's.
#pragma once

#include <fstream>
#include <functional>
#include <string>
#include <vector>

#include "com_server/class_factory.h"
#include "platform/conversions.h"
#include "platform/windows/com_object.h"
#include "support/apartment.h"
#include "support/test_process.h"

namespace iqrx::testing {

// A sink that lives as long as the test: it keeps the events as lines and may do something at one of them.
class EventSink final : public IDispatch {
public:
    virtual ~EventSink() = default;
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override {
        *object = iid == IID_IUnknown || iid == IID_IDispatch ? this : nullptr;
        if (*object != nullptr) AddRef();
        return *object != nullptr ? S_OK : E_NOINTERFACE;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return ++references; }
    ULONG STDMETHODCALLTYPE Release() override { return --references; }
    HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) override {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE Invoke(DISPID id, REFIID, LCID, WORD, DISPPARAMS* parameters, VARIANT*,
                                     EXCEPINFO*, UINT*) override {
        constexpr const char* kNames[] = {"", "Started", "Error", "Complete", "AlreadyInProgress", "done"};
        const std::string name = kNames[id];
        std::string text = name;
        for (UINT i = parameters->cArgs; i-- > 0;)
            if (parameters->rgvarg[i].vt != VT_DATE)
                text += " " + platform::ToText(platform::windows::FromVariant(parameters->rgvarg[i]));
        heard.push_back(text);
        if (name == actAt) act();
        return S_OK;
    }

    std::vector<std::string> heard;
    std::string actAt;
    std::function<void()> act;
    ULONG references = 1;
};

class ComSite : public TestProcess {
protected:
    static constexpr const char* kCatalogText =
        "SELECT a.ERPTableID,a.tableid, a.tablename, c.text from tstables a, tstreenodes b, tsi18ntext c "
        "where a.productid = N'1028' AND b.groupid = N'SYNC' AND a.tableid = b.tableid AND b.label = c.label";

    ComSite() {
        using namespace std::string_literals;
        process.machine.defaultLogDirectory = Folder("default");
        WriteSettings("[Requests]\nTreeGroup=SYNC\n");
        database.defaultAffected = 1;
        database.WhenOpened(kCatalogText,
                            Rows{{"ERPTableID", "tableid", "tablename", "text"},
                                 {{"erp030"s, platform::Long{2}, "tsmdm030"s, "Service Types"s}}});
        database.WhenOpened("SELECT tvkparam FROM tsparameters", Rows{{"tvkparam"}, {{platform::Long{0}}}});
    }

    std::string Folder(const std::string& name) const {
        std::filesystem::create_directories(directory.path / name);
        return (directory.path / name).string();
    }
    void WriteSettings(const std::string& text) const {
        std::ofstream(directory.path / "iQRXyQRXSync.ini") << text;
    }
    std::string RequestLog(const std::string& folder) const {
        return Contents(directory.path / folder / "iQRXyDBSync.log");
    }
    std::string TableLog(const std::string& folder) const {
        return Contents(directory.path / folder / "tsmdm030_20260304.log");
    }

    platform::windows::Apartment apartment;
    hosting::windows::ServerLifetime lifetime;
    hosting::windows::TypeLibrary library;
};

}  // namespace iqrx::testing
