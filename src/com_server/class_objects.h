// COM's table of classes, in which a process offers its own to clients.
#pragma once

#include "platform/windows/com.h"

namespace iqrx::hosting::windows {

// Members are called on the thread that serves the clients. Register and Resume raise RuntimeError.
class ClassObjects {
public:
    virtual ~ClassObjects() = default;

    // Enters a class with its factory; `use` is of REGCLS. Returns the entry's number.
    virtual DWORD Register(REFCLSID classId, IUnknown* factory, DWORD use) = 0;
    virtual void Resume() = 0;  // opens all entries that were registered as suspended
    virtual void Revoke(DWORD entry) noexcept = 0;

    // Creates an object of a class that this process no longer offers: COM starts another one for it.
    virtual HRESULT CreateElsewhere(REFCLSID classId, REFIID iid, void** object) noexcept = 0;
};

class ComClassObjects final : public ClassObjects {
public:
    DWORD Register(REFCLSID classId, IUnknown* factory, DWORD use) override;
    void Resume() override;
    void Revoke(DWORD entry) noexcept override;
    HRESULT CreateElsewhere(REFCLSID classId, REFIID iid, void** object) noexcept override;
};

}  // namespace iqrx::hosting::windows
