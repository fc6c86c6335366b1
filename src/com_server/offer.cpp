#include "com_server/offer.h"

#include "com_server/data_copy_class.h"
#include "com_server/handler_class.h"

namespace iqrx::hosting::windows {

using platform::windows::ComRef;

Offer::Registration::Registration(ClassObjects& classObjects, REFCLSID classId, ClassFactory::Create create,
                                  ServerLifetime& lifetime)
    : classObjects_(classObjects) {
    const auto factory = ComRef<ClassFactory>::Adopt(new ClassFactory(lifetime, std::move(create)));
    // Suspended: a client that came before every class is entered would find half a server.
    entry_ = classObjects_.Register(classId, factory.Get(), REGCLS_SINGLEUSE | REGCLS_SUSPENDED);
}

Offer::Offer(ClassObjects& classObjects, ServerLifetime& lifetime, ComRequests& requests)
    : classObjects_(classObjects), lifetime_(lifetime), requests_(requests) {
    Register<HandlerClass>(0, __uuidof(::clsDataCopyHandler));
    Register<DataCopyClass>(1, __uuidof(::clsDataCopy));
    classObjects_.Resume();
}

template <class Class>
void Offer::Register(std::size_t place, REFCLSID classId) {
    registrations_[place].emplace(
        classObjects_, classId,
        [this, place, classId](REFIID iid, void** object) {
            return Create<Class>(place, classId, iid, object);
        },
        lifetime_);
}

template <class Class>
HRESULT Offer::Create(std::size_t place, REFCLSID classId, REFIID iid, void** object) {
    if (taken_) {
        // A client that got hold of a factory before its entry was revoked, or asks for a second object.
        registrations_[place].reset();
        return classObjects_.CreateElsewhere(classId, iid, object);
    }
    const auto created = ComRef<Class>::Adopt(new Class(lifetime_, library_, requests_));
    if (const HRESULT lacking = created->QueryInterface(iid, object); FAILED(lacking)) return lacking;
    taken_ = true;
    // Single use closes the entry of the class that was taken, not that of the other.
    for (std::size_t other = 0; other < registrations_.size(); ++other)
        if (other != place) registrations_[other].reset();
    return S_OK;
}

}  // namespace iqrx::hosting::windows
