#include "com_server/registration.h"

#include <array>
#include <string>

#include "com_server/type_library.h"
#include "platform/windows/com_error.h"
#include "platform/windows/machine.h"

namespace iqrx::hosting::windows {

using platform::windows::Check;

namespace {

constexpr const wchar_t* kVersion = L"1.0";  // of the type library, which clients are compiled against
// The marshallers of automation: of interfaces that a type library describes, and of plain IDispatch.
constexpr const wchar_t* kTypeLibraryMarshaller = L"{00020424-0000-0000-C000-000000000046}";
constexpr const wchar_t* kDispatchMarshaller = L"{00020420-0000-0000-C000-000000000046}";

std::wstring Text(REFGUID id) {
    wchar_t text[40];
    StringFromGUID2(id, text, 40);
    return text;
}

// "Software\Classes" of all users or of one, as 64-bit or as 32-bit programs see it. What both see is shared
// in parts, so that every key is opened from the root: the view holds for the path below it.
class Classes {
public:
    Classes(HKEY root, REGSAM view) : root_(root), view_(view) {}

    bool Writable() const {
        HKEY key = nullptr;
        if (RegOpenKeyExW(root_, kPath, 0, KEY_READ | KEY_WRITE | DELETE | view_, &key) != ERROR_SUCCESS)
            return false;
        RegCloseKey(key);
        return true;
    }

    void Set(const std::wstring& path, const std::wstring& value, const wchar_t* name = nullptr) const {
        HKEY key = nullptr;
        LSTATUS status = RegCreateKeyExW(root_, (std::wstring(kPath) + L"\\" + path).c_str(), 0, nullptr, 0,
                                         KEY_SET_VALUE | view_, nullptr, &key, nullptr);
        if (status == ERROR_SUCCESS) {
            const auto bytes = static_cast<DWORD>((value.size() + 1) * sizeof(wchar_t));
            status = RegSetValueExW(key, name, 0, REG_SZ, reinterpret_cast<const BYTE*>(value.c_str()), bytes);
            RegCloseKey(key);
        }
        Check(HRESULT_FROM_WIN32(status), platform::windows::Utf8(path));
    }

    // The key with all below it.
    void Remove(const std::wstring& path) const {
        const auto last = path.rfind(L'\\');
        const std::wstring parent = last == std::wstring::npos ? L"" : L"\\" + path.substr(0, last);
        HKEY key = nullptr;
        if (RegOpenKeyExW(root_, (kPath + parent).c_str(), 0, KEY_READ | KEY_WRITE | DELETE | view_, &key) !=
            ERROR_SUCCESS)
            return;
        RegDeleteTreeW(key, path.substr(last + 1).c_str());
        RegCloseKey(key);
    }

private:
    static constexpr const wchar_t* kPath = L"Software\\Classes";
    HKEY root_;
    REGSAM view_;
};

struct PublicClass {
    const wchar_t* progId;
    CLSID classId;
};

const std::array<PublicClass, 2> kPublicClasses{{
    {L"iQRXyQRXSync.clsDataCopyHandler", __uuidof(::clsDataCopyHandler)},
    {L"iQRXyQRXSync.clsDataCopy", __uuidof(::clsDataCopy)},
}};

struct PublicInterface {
    const wchar_t* name;
    IID id;
    const wchar_t* marshaller;
};

const std::array<PublicInterface, 3> kPublicInterfaces{{
    {L"_clsDataCopyHandler", __uuidof(_clsDataCopyHandler), kTypeLibraryMarshaller},
    {L"_clsDataCopy", __uuidof(_clsDataCopy), kTypeLibraryMarshaller},
    {L"__clsDataCopy", __uuidof(__clsDataCopy), kDispatchMarshaller},
}};

std::wstring KeyOf(const PublicClass& publicClass) { return L"CLSID\\" + Text(publicClass.classId); }
std::wstring KeyOf(const PublicInterface& publicInterface) {
    return L"Interface\\" + Text(publicInterface.id);
}

// The entries of this program file.
class Entries {
public:
    explicit Entries(HKEY root)
        : classes_(root, KEY_WOW64_64KEY),
          classesOf32Bit_(root, KEY_WOW64_32KEY),
          libraryId_(Text(TypeLibrary().Id())) {}

    bool Writable() const { return classes_.Writable(); }

    // The classes are for every program, since the server is a process of its own. A 32-bit program that was
    // compiled against the interfaces finds their marshaller and their type library only in its own view.
    void Write(const std::filesystem::path& file) const {
        for (const auto& publicClass : kPublicClasses) WriteClass(publicClass, file.native());
        for (const Classes* classes : {&classes_, &classesOf32Bit_}) {
            for (const auto& publicInterface : kPublicInterfaces) WriteInterface(*classes, publicInterface);
            WriteLibrary(*classes, file);
        }
    }

    void Remove() const {
        for (const auto& publicClass : kPublicClasses) {
            classes_.Remove(publicClass.progId);
            classes_.Remove(KeyOf(publicClass));
        }
        for (const Classes* classes : {&classes_, &classesOf32Bit_}) {
            for (const auto& publicInterface : kPublicInterfaces) classes->Remove(KeyOf(publicInterface));
            classes->Remove(KeyOfLibrary());
        }
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

    void WriteInterface(const Classes& classes, const PublicInterface& publicInterface) const {
        const std::wstring key = KeyOf(publicInterface);
        classes.Set(key, publicInterface.name);
        classes.Set(key + L"\\ProxyStubClsid32", publicInterface.marshaller);
        classes.Set(key + L"\\TypeLib", libraryId_);
        classes.Set(key + L"\\TypeLib", kVersion, L"Version");
    }

    void WriteLibrary(const Classes& classes, const std::filesystem::path& file) const {
        const std::wstring key = KeyOfLibrary() + L"\\" + kVersion;
        classes.Set(key, L"Data copy service");
        for (const wchar_t* system : {L"win64", L"win32"})
            classes.Set(key + L"\\0\\" + system, file.native());
        classes.Set(key + L"\\FLAGS", L"0");
        classes.Set(key + L"\\HELPDIR", file.parent_path().native());
    }

    Classes classes_;
    Classes classesOf32Bit_;
    std::wstring libraryId_;
};

}  // namespace

void RegisterServer() {
    const Entries ofMachine(HKEY_LOCAL_MACHINE), ofUser(HKEY_CURRENT_USER);
    (ofMachine.Writable() ? ofMachine : ofUser).Write(platform::windows::ProgramFile());
}

void UnregisterServer() {
    for (const HKEY root : {HKEY_LOCAL_MACHINE, HKEY_CURRENT_USER})
        if (const Entries entries(root); entries.Writable()) entries.Remove();
}

}  // namespace iqrx::hosting::windows
