// The other side of the service's COM calls, for the tests: a process each for the ERP's classes, the
// instance registry and ADO.
//
//     test_server register            the ProgIDs of all classes
//     test_server erp DIR READY       the ERP's classes, served from an extract
//     test_server instance FILE READY the instance registry; what is called is appended to the file
//     test_server ado PORT READY      ADO on the database bridge
//
// READY is a file that appears once the classes can be created. READY.fault, while it exists, makes a call
// fail: with "die" in it the call ends the process, with "wrong" it answers a value of a wrong type, with
// "hold" it answers when the file is gone. At fault are the ERP's enumerators (hasMoreElements), ADO's
// execution of the statement that marks a table's rows, and the instance object: with "die" and "wrong" when
// it is fetched, with "hold" and "die-in-run" when it is called. With "change" in the file the registry and
// the instance object leave other values in what is handed over by reference.
#include <fstream>
#include <functional>
#include <iostream>
#include <map>

#include "erp/extract/extract_erp.h"
#include "hosting/dispatch.h"
#include "platform/connection_string.h"
#include "platform/date.h"
#include "platform/ini_file.h"
#include "platform/printable.h"
#include "platform/windows/com_error.h"
#include "platform/windows/com_object.h"
#include "platform/windows/machine.h"
#include "support/apartment.h"
#include "support/test_process.h"
#include "windows/remote_database.h"

namespace iqrx::testing {
namespace {

using namespace platform;
using platform::windows::Check;
using platform::windows::Wide;

using Classes = std::map<std::string, std::function<ObjectRef()>>;

constexpr const char* kRegistry = "iQRXyInstHandler.InstanceHandle";
constexpr const char* kErpClasses[] = {"com.orva.erp.audit.AuditCriteria", "com.orva.erp.audit.Period",
                                       "com.orva.erp.audit.Parameter",     "com.orva.erp.audit.AuditReader",
                                       "com.orva.erp.audit.RecordStatus",  "Calendars.CalendarManager"};

class Fault {
public:
    explicit Fault(std::string file) : file_(std::move(file)) {}

    std::string Kind() const {
        std::ifstream stream(file_);
        std::string kind;
        stream >> kind;
        return kind;
    }

    // Ends the process, waits, or says that the answer is to be wrong.
    bool Strikes() const {
        if (Kind().starts_with("die")) TerminateProcess(GetCurrentProcess(), 9);
        while (Kind() == "hold") Sleep(10);
        return Kind() == "wrong";
    }

    bool Possible() const { return std::filesystem::exists(file_); }

private:
    std::string file_;
};

// An enumerator at fault.
class FaultyEnumerator : public Object {
public:
    FaultyEnumerator(ObjectRef inner, Fault fault) : inner_(std::move(inner)), fault_(std::move(fault)) {}
    Value Invoke(std::string_view member, std::span<Argument> arguments) override {
        if (member == "hasMoreElements" && fault_.Strikes()) return std::string("perhaps");
        return inner_->Invoke(member, arguments);
    }

private:
    ObjectRef inner_;
    Fault fault_;
};

// A manager whose enumerators may be.
class FaultyManager : public Object {
public:
    FaultyManager(ObjectRef inner, Fault fault) : inner_(std::move(inner)), fault_(std::move(fault)) {}
    Value Invoke(std::string_view member, std::span<Argument> arguments) override {
        const Value answer = inner_->Invoke(member, arguments);
        if (!answer.Is<ObjectRef>() || !answer.As<ObjectRef>()) return answer;
        return ObjectRef(std::make_shared<FaultyEnumerator>(answer.As<ObjectRef>(), fault_));
    }

private:
    ObjectRef inner_;
    Fault fault_;
};

// A class id that follows from the name.
CLSID IdOf(const std::string& progId) {
    unsigned long long hash = 14695981039346656037ULL;
    for (const char c : progId) hash = (hash ^ static_cast<unsigned char>(c)) * 1099511628211ULL;
    CLSID id = {0x7e57c1a5, 0x1028, 0x4000, {}};
    for (int i = 0; i < 8; ++i) id.Data4[i] = static_cast<unsigned char>(hash >> (8 * i));
    return id;
}

IniFile ErpClasses() { return IniFile(windows::ProgramFile().parent_path() / "ErpClasses.ini"); }

class Factory final : public IClassFactory {
public:
    explicit Factory(std::function<ObjectRef()> create) : create_(std::move(create)) {}
    virtual ~Factory() = default;
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override {
        *object = iid == IID_IUnknown || iid == IID_IClassFactory ? this : nullptr;
        return *object != nullptr ? S_OK : E_NOINTERFACE;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return 2; }  // lives as long as the process
    ULONG STDMETHODCALLTYPE Release() override { return 1; }
    HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown*, REFIID iid, void** object) override {
        *object = nullptr;
        return windows::Guarded([&] {
            const auto created = windows::AdapterAround(create_());
            Check(created->QueryInterface(iid, object), "CreateInstance");
        });
    }
    HRESULT STDMETHODCALLTYPE LockServer(BOOL) override { return S_OK; }

private:
    std::function<ObjectRef()> create_;
};

// Learns a table's layout from the copy itself, which hands it to the first manager that it asks for.
class LayoutOnly : public erp::ErpProvider {
public:
    std::unique_ptr<erp::Erp> Open(const std::string&, const erp::Notice&) override {
        struct Asked : erp::Erp {
            explicit Asked(std::map<std::string, erp::TableLayout>& layouts) : layouts(layouts) {}
            ObjectRef CreateManager(const erp::TableLayout& layout) override {
                layouts[std::string(layout.table)] = layout;
                throw RuntimeError(kCannotCreateObject, "", "the layout is all that was asked for");
            }
            ObjectRef CreateRecord(const erp::TableLayout& layout) override { return CreateManager(layout); }
            ObjectRef CreateObject(std::string_view) override { return nullptr; }
            std::map<std::string, erp::TableLayout>& layouts;
        };
        return std::make_unique<Asked>(layouts);
    }
    std::map<std::string, erp::TableLayout> layouts;
};

std::map<std::string, erp::TableLayout> Layouts() {
    RecordingDatabase database;
    LayoutOnly erps;
    TestProcess process(database, erps);
    process.OpenDatabase();
    for (const auto& table : hosting::Tables()) {
        if (table.table == "tcccp030") continue;
        try {
            table.copy({process.run, std::string(table.table), "", control::kFull});
        } catch (const RuntimeError&) {
            // Expected: the manager is not made.
        }
    }
    return erps.layouts;
}

Classes OfErp(const std::string& directory, const Fault& fault) {
    const std::shared_ptr<erp::Erp> erp = erp::extract::OpenExtract(Wide(directory));
    const IniFile names = ErpClasses();
    Classes classes;
    for (const char* progId : kErpClasses)
        classes[progId] = [erp, progId] { return erp->CreateObject(progId); };
    for (const auto& [table, layout] : Layouts()) {
        classes[names.Find(table, "Manager").value()] = [erp, layout, fault]() -> ObjectRef {
            // The audit reader knows its own managers alone.
            if (!fault.Possible()) return erp->CreateManager(layout);
            return std::make_shared<FaultyManager>(erp->CreateManager(layout), fault);
        };
        classes[names.Find(table, "Record").value()] = [erp, layout] { return erp->CreateRecord(layout); };
    }
    return classes;
}

class CallLog {
public:
    explicit CallLog(std::string file) : file_(std::move(file)) {}
    void Append(const std::string& line) const {
        std::ofstream(file_, std::ios::app | std::ios::binary) << line << '\n';
    }

private:
    std::string file_;
};

class InstanceObject : public Object {
public:
    InstanceObject(CallLog log, Fault fault) : log_(std::move(log)), fault_(std::move(fault)) {}
    Value Invoke(std::string_view member, std::span<Argument> arguments) override {
        std::string json;
        for (const auto& argument : arguments)
            json += (json.empty() ? "" : ",") + JsonValue(argument.value, IsoTime);
        log_.Append("{\"call\":" + JsonText(member) + ",\"args\":[" + json + "]}");
        return member == "getInstance" ? Fetched(arguments[0].value) : Called(member, arguments);
    }
    void Set(std::string_view member, const Value& value) override {
        log_.Append("{\"set\":" + JsonText(member) + ",\"value\":" + JsonValue(value, IsoTime) + "}");
    }

private:
    Value Fetched(Value& number) const {
        const std::string kind = fault_.Kind();
        if (kind == "change") number = Integer{9};
        if ((kind == "die" || kind == "wrong") && fault_.Strikes()) return std::string("no object");
        return ObjectRef(std::make_shared<InstanceObject>(log_, fault_));
    }
    Value Called(std::string_view member, std::span<Argument> arguments) const {
        if (fault_.Kind() == "change" && member == "UpdateStatusByTable") arguments[3].value = Long{70'000};
        fault_.Strikes();
        return {};
    }

    CallLog log_;
    Fault fault_;
};

Classes OfRole(const std::string& role, const std::string& argument, const Fault& fault) {
    if (role == "erp") return OfErp(argument, fault);
    if (role == "instance")
        return {{kRegistry, [=] { return std::make_shared<InstanceObject>(CallLog(argument), fault); }}};
    const auto port = static_cast<unsigned short>(std::stoi(argument));
    return {{"ADODB.Connection",
             [=] { return CreateRemoteConnection(port, [fault] { return fault.Strikes(); }); }},
            {"ADODB.Recordset", [] { return CreateRemoteRecordset(); }}};
}

void RegisterProgId(const std::string& progId) {
    wchar_t id[39];  // as long as such a text is
    StringFromGUID2(IdOf(progId), id, 39);
    // ADO's own entries of the prefix give way.
    const std::wstring key = L"Software\\Classes\\" + Wide(progId) + L"\\CLSID";
    for (const HKEY root : {HKEY_LOCAL_MACHINE, HKEY_CURRENT_USER})
        RegSetKeyValueW(root, key.c_str(), nullptr, REG_SZ, id, sizeof id);
}

void RegisterProgIds() {
    for (const char* progId : {kRegistry, "ADODB.Connection", "ADODB.Recordset"}) RegisterProgId(progId);
    for (const char* progId : kErpClasses) RegisterProgId(progId);
    const IniFile names = ErpClasses();
    for (const auto& table : hosting::Tables())
        for (const char* role : {"Manager", "Record"})
            if (const auto name = names.Find(table.table, role)) RegisterProgId(*name);
}

// The interfaces that all objects here are called through.
void KeepInterfaces() {
    windows::KeepDispatchInterfaces();
    windows::KeepInterface(IID_IClassFactory, new Factory({}));
}

void Serve(const Classes& classes, const std::string& ready) {
    for (const auto& [progId, create] : classes) {
        DWORD cookie = 0;
        Check(CoRegisterClassObject(IdOf(progId), new Factory(create), CLSCTX_LOCAL_SERVER,
                                    REGCLS_MULTIPLEUSE, &cookie),
              progId);
    }
    KeepInterfaces();
    std::ofstream(ready) << "ready\n";
    MSG message;
    while (GetMessageW(&message, nullptr, 0, 0) > 0) DispatchMessageW(&message);
}

}  // namespace
}  // namespace iqrx::testing

int main(int argc, char** argv) {
    using namespace iqrx;
    try {
        const platform::windows::Apartment apartment;
        if (argc == 2) return testing::RegisterProgIds(), 0;
        testing::Serve(testing::OfRole(argv[1], argv[2], testing::Fault(argv[3] + std::string(".fault"))),
                       argv[3]);
        return 0;
    } catch (...) {
        std::cerr << platform::CurrentError().description << std::endl;
        return 1;
    }
}
