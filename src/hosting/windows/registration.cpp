#include "hosting/windows/registration.h"

#include <string>
#include <vector>

#include "hosting/windows/class_ids.h"
#include "hosting/windows/type_library.h"
#include "platform/windows/com_error.h"
#include "platform/windows/machine.h"

namespace iqrx::hosting::windows {

using platform::windows::Check;

namespace {

constexpr const wchar_t* kVersion = L"1.0";
// The marshallers of automation: of interfaces that a type library describes, and of plain IDispatch.
constexpr const wchar_t* kTypeLibraryMarshaller = L"{00020424-0000-0000-C000-000000000046}";
constexpr const wchar_t* kDispatchMarshaller = L"{00020420-0000-0000-C000-000000000046}";

std::wstring Text(REFGUID id) {
    wchar_t text[40];
    StringFromGUID2(id, text, 40);
    return text;
}

// "Software\Classes" of all users or of one.
class Classes {
public:
    explicit Classes(HKEY root) {
        opened_ = RegOpenKeyExW(root, L"Software\\Classes", 0, KEY_READ | KEY_WRITE | DELETE, &key_) ==
                  ERROR_SUCCESS;
    }
    Classes(const Classes&) = delete;
    Classes& operator=(const Classes&) = delete;
    ~Classes() {
        if (opened_) RegCloseKey(key_);
    }

    bool Writable() const { return opened_; }

    void Set(const std::wstring& path, const std::wstring& value, const wchar_t* name = nullptr) const {
        const auto bytes = static_cast<DWORD>((value.size() + 1) * sizeof(wchar_t));
        const LSTATUS status = RegSetKeyValueW(key_, path.c_str(), name, REG_SZ, value.c_str(), bytes);
        Check(HRESULT_FROM_WIN32(status), platform::windows::Utf8(path));
    }
    void Remove(const std::wstring& path) const { RegDeleteTreeW(key_, path.c_str()); }

private:
    HKEY key_ = nullptr;
    bool opened_ = false;
};

struct PublicInterface {
    const wchar_t* name;
    IID id;
    const wchar_t* marshaller;
};

std::vector<PublicInterface> Interfaces() {
    return {{L"_clsDataCopyHandler", __uuidof(_clsDataCopyHandler), kTypeLibraryMarshaller},
            {L"_clsDataCopy", __uuidof(_clsDataCopy), kTypeLibraryMarshaller},
            {L"__clsDataCopy", __uuidof(__clsDataCopy), kDispatchMarshaller}};
}

std::wstring KeyOf(const PublicClass& publicClass) { return L"CLSID\\" + Text(publicClass.classId); }
std::wstring KeyOf(const PublicInterface& publicInterface) {
    return L"Interface\\" + Text(publicInterface.id);
}

// The entries of this program file.
class Entries {
public:
    explicit Entries(const Classes& classes) : classes_(classes), libraryId_(Text(TypeLibrary().Id())) {}

    void Write(const std::filesystem::path& file) const {
        for (const auto& publicClass : kPublicClasses) WriteClass(publicClass, file.native());
        for (const auto& publicInterface : Interfaces()) WriteInterface(publicInterface);
        WriteLibrary(file);
    }

    void Remove() const {
        for (const auto& publicClass : kPublicClasses) {
            classes_.Remove(publicClass.progId);
            classes_.Remove(KeyOf(publicClass));
        }
        for (const auto& publicInterface : Interfaces()) classes_.Remove(KeyOf(publicInterface));
        classes_.Remove(KeyOfLibrary());
    }

private:
    std::wstring KeyOfLibrary() const { return L"TypeLib\\" + libraryId_; }

    void WriteClass(const PublicClass& publicClass, const std::wstring& file) const {
        const std::wstring key = KeyOf(publicClass), name = publicClass.progId;
        classes_.Set(name, name);
        classes_.Set(name + L"\\CLSID", Text(publicClass.classId));
        classes_.Set(key, name);
        classes_.Set(key + L"\\ProgID", name);
        classes_.Set(key + L"\\LocalServer32", L"\"" + file + L"\"");
        classes_.Set(key + L"\\TypeLib", libraryId_);
        classes_.Set(key + L"\\Version", kVersion);
    }

    void WriteInterface(const PublicInterface& publicInterface) const {
        const std::wstring key = KeyOf(publicInterface);
        classes_.Set(key, publicInterface.name);
        classes_.Set(key + L"\\ProxyStubClsid32", publicInterface.marshaller);
        classes_.Set(key + L"\\TypeLib", libraryId_);
        classes_.Set(key + L"\\TypeLib", kVersion, L"Version");
    }

    void WriteLibrary(const std::filesystem::path& file) const {
        const std::wstring key = KeyOfLibrary() + L"\\" + kVersion;
        classes_.Set(key, L"Data copy service");
        classes_.Set(key + L"\\0\\win64", file.native());
        classes_.Set(key + L"\\FLAGS", L"0");
        classes_.Set(key + L"\\HELPDIR", file.parent_path().native());
    }

    const Classes& classes_;
    std::wstring libraryId_;
};

}  // namespace

void RegisterServer() {
    const Classes ofMachine(HKEY_LOCAL_MACHINE), ofUser(HKEY_CURRENT_USER);
    Entries(ofMachine.Writable() ? ofMachine : ofUser).Write(platform::windows::ProgramFile());
}

void UnregisterServer() {
    for (const HKEY root : {HKEY_LOCAL_MACHINE, HKEY_CURRENT_USER})
        if (const Classes classes(root); classes.Writable()) Entries(classes).Remove();
}

}  // namespace iqrx::hosting::windows
