#include "com_server/server.h"

#include <memory>
#include <string>
#include <vector>

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

    bool Writable() const { return Open(L"") != nullptr; }

    void Set(const std::wstring& path, const std::wstring& value, const wchar_t* name = nullptr) const {
        HKEY key = nullptr;
        LSTATUS status = RegCreateKeyExW(root_, (std::wstring(kPath) + L"\\" + path).c_str(), 0, nullptr, 0,
                                         KEY_SET_VALUE | view_, nullptr, &key, nullptr);
        const Key created(key, RegCloseKey);
        const auto bytes = static_cast<DWORD>((value.size() + 1) * sizeof(wchar_t));
        if (status == ERROR_SUCCESS)
            status = RegSetValueExW(key, name, 0, REG_SZ, reinterpret_cast<const BYTE*>(value.c_str()), bytes);
        Check(HRESULT_FROM_WIN32(status), platform::windows::Utf8(path));
    }

    // The key with all below it.
    void Remove(const std::wstring& path) const {
        const auto last = path.rfind(L'\\');
        const std::wstring parent = last == std::wstring::npos ? L"" : L"\\" + path.substr(0, last);
        if (const Key key = Open(parent)) RegDeleteTreeW(key.get(), path.substr(last + 1).c_str());
    }

private:
    using Key = std::unique_ptr<std::remove_pointer_t<HKEY>, decltype(&RegCloseKey)>;

    // Null: it is missing, or not to be written.
    Key Open(const std::wstring& below) const {
        HKEY key = nullptr;
        RegOpenKeyExW(root_, (kPath + below).c_str(), 0, KEY_READ | KEY_WRITE | DELETE | view_, &key);
        return {key, RegCloseKey};
    }

    static constexpr const wchar_t* kPath = L"Software\\Classes";
    HKEY root_;
    REGSAM view_;
};

const struct {
    const wchar_t* progId;
    CLSID classId;
} kPublicClasses[] = {
    {L"iQRXyQRXSync.clsDataCopyHandler", __uuidof(::clsDataCopyHandler)},
    {L"iQRXyQRXSync.clsDataCopy", __uuidof(::clsDataCopy)},
};

const struct {
    const wchar_t* name;
    IID id;
    const wchar_t* marshaller;
} kPublicInterfaces[] = {
    {L"_clsDataCopyHandler", __uuidof(_clsDataCopyHandler), kTypeLibraryMarshaller},
    {L"_clsDataCopy", __uuidof(_clsDataCopy), kTypeLibraryMarshaller},
    {L"__clsDataCopy", __uuidof(__clsDataCopy), kDispatchMarshaller},
};

// What is written at a path below a key; without a name as the default value.
struct Setting {
    std::wstring below, value;
    const wchar_t* name = nullptr;
};

// A key of this program's own, with all below it.
struct OwnKey {
    std::wstring path;
    std::vector<Setting> settings;
    bool in32BitView = false;
};

// The classes are for every program, since the server is a process of its own. A 32-bit program that was
// compiled against the interfaces finds their marshaller and their type library only in its own view.
std::vector<OwnKey> OwnKeys() {
    const std::filesystem::path file = platform::windows::ProgramFile();
    const std::wstring library = Text(TypeLibrary().Id()), version = std::wstring(L"\\") + kVersion;
    std::vector<OwnKey> keys;
    for (const auto& [name, id] : kPublicClasses) {
        keys.push_back({name, {{L"", name}, {L"\\CLSID", Text(id)}}});
        keys.push_back({L"CLSID\\" + Text(id),
                        {{L"", name},
                         {L"\\ProgID", name},
                         {L"\\LocalServer32", L"\"" + file.native() + L"\""},
                         {L"\\TypeLib", library},
                         {L"\\Version", kVersion}}});
    }
    for (const auto& [name, id, marshaller] : kPublicInterfaces)
        keys.push_back({L"Interface\\" + Text(id),
                        {{L"", name},
                         {L"\\ProxyStubClsid32", marshaller},
                         {L"\\TypeLib", library},
                         {L"\\TypeLib", kVersion, L"Version"}},
                        true});
    keys.push_back({L"TypeLib\\" + library,
                    {{version, L"Data copy service"},
                     {version + L"\\0\\win64", file.native()},
                     {version + L"\\0\\win32", file.native()},
                     {version + L"\\FLAGS", L"0"},
                     {version + L"\\HELPDIR", file.parent_path().native()}},
                    true});
    return keys;
}

bool IsWritable(HKEY root) { return Classes(root, KEY_WOW64_64KEY).Writable(); }

// Does it in the view of 64-bit programs and, where the key is in both, in that of 32-bit ones.
template <class Do>
void InViewsOf(const OwnKey& key, HKEY root, Do act) {
    act(Classes(root, KEY_WOW64_64KEY));
    if (key.in32BitView) act(Classes(root, KEY_WOW64_32KEY));
}

}  // namespace

void RegisterServer() {
    const HKEY root = IsWritable(HKEY_LOCAL_MACHINE) ? HKEY_LOCAL_MACHINE : HKEY_CURRENT_USER;
    for (const OwnKey& key : OwnKeys())
        InViewsOf(key, root, [&](const Classes& classes) {
            for (const auto& [below, value, name] : key.settings) classes.Set(key.path + below, value, name);
        });
}

void UnregisterServer() {
    for (const HKEY root : {HKEY_LOCAL_MACHINE, HKEY_CURRENT_USER}) {
        if (!IsWritable(root)) continue;
        for (const OwnKey& key : OwnKeys())
            InViewsOf(key, root, [&](const Classes& classes) { classes.Remove(key.path); });
    }
}

}  // namespace iqrx::hosting::windows
