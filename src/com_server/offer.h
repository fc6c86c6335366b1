// The public classes as one process offers them: one client takes one object, whose requests the process then
// serves one at a time.
#pragma once

#include <array>
#include <optional>

#include "com_server/class_factory.h"
#include "com_server/class_objects.h"
#include "com_server/com_requests.h"
#include "com_server/type_library.h"

namespace iqrx::hosting::windows {

class Offer {
public:
    // Borrows all three. Every class is offered when the constructor returns. Raises RuntimeError.
    Offer(ClassObjects& classObjects, ServerLifetime& lifetime, ComRequests& requests);
    Offer(const Offer&) = delete;
    Offer& operator=(const Offer&) = delete;

    bool Taken() const { return taken_; }

private:
    class Registration {
    public:
        Registration(ClassObjects& classObjects, REFCLSID classId, ClassFactory::Create create,
                     ServerLifetime& lifetime);
        ~Registration() { classObjects_.Revoke(entry_); }
        Registration(const Registration&) = delete;
        Registration& operator=(const Registration&) = delete;

    private:
        ClassObjects& classObjects_;
        DWORD entry_;
    };

    template <class Class>
    void Register(std::size_t place, REFCLSID classId);
    template <class Class>
    HRESULT Create(std::size_t place, REFCLSID classId, REFIID iid, void** object);

    ClassObjects& classObjects_;
    ServerLifetime& lifetime_;
    ComRequests& requests_;
    TypeLibrary library_;
    bool taken_ = false;
    std::array<std::optional<Registration>, 2> registrations_;
};

}  // namespace iqrx::hosting::windows
