// The public classes as one process offers them: one client takes one object, whose requests the process then
// serves one at a time.
#pragma once

#include <array>
#include <memory>

#include "com_server/class_factory.h"

namespace iqrx::hosting::windows {

// COM's table of classes, in which a process offers its own to clients.
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

class Offer {
public:
    // Borrows all three. Every class is offered when the constructor returns. Raises RuntimeError.
    Offer(ClassObjects& classObjects, ServerLifetime& lifetime, ComRequests& requests)
        : classObjects_(classObjects), lifetime_(lifetime), requests_(requests) {
        Register(0, __uuidof(::clsDataCopyHandler), CreateHandler);
        Register(1, __uuidof(::clsDataCopy), CreateDataCopy);
        classObjects_.Resume();
    }
    Offer(const Offer&) = delete;
    Offer& operator=(const Offer&) = delete;

    bool Taken() const { return taken_; }

private:
    struct Entry {
        ClassObjects& classObjects;
        DWORD number;
        ~Entry() { classObjects.Revoke(number); }
    };

    void Register(std::size_t place, REFCLSID classId, CreatePublicObject* create) {
        const auto factory = ComRef<ClassFactory>::Adopt(
            new ClassFactory(lifetime_, [this, place, classId, create](REFIID iid, void** object) {
                return Create(place, classId, create, iid, object);
            }));
        // Suspended: a client that came before every class is entered would find half a server.
        const DWORD number =
            classObjects_.Register(classId, factory.Get(), REGCLS_SINGLEUSE | REGCLS_SUSPENDED);
        entries_[place].reset(new Entry{classObjects_, number});
    }

    HRESULT Create(std::size_t place, REFCLSID classId, CreatePublicObject* create, REFIID iid, void** object) {
        if (taken_) {
            // A client that got hold of a factory before its entry was revoked, or asks for a second object.
            entries_[place].reset();
            return classObjects_.CreateElsewhere(classId, iid, object);
        }
        const auto created = create(lifetime_, library_, requests_);
        if (const HRESULT lacking = created->QueryInterface(iid, object); FAILED(lacking)) return lacking;
        taken_ = true;
        // Single use closes the entry of the class that was taken, not that of the other.
        for (std::size_t other = 0; other < entries_.size(); ++other)
            if (other != place) entries_[other].reset();
        return S_OK;
    }

    ClassObjects& classObjects_;
    ServerLifetime& lifetime_;
    ComRequests& requests_;
    TypeLibrary library_;
    bool taken_ = false;
    std::array<std::unique_ptr<Entry>, 2> entries_;
};

}  // namespace iqrx::hosting::windows
