// COM objects for the port of late-bound objects, and automation values as VARIANTs. Members are called by
// name through IDispatch; an object is used on the thread that obtained it.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>

#include "platform/object.h"
#include "platform/windows/com.h"

namespace iqrx::platform::windows {

// What is known of a class: the ids of its members, and the classes of the objects that its members return,
// told apart by the member and the object's method table. A member's id is asked for once a class.
using MemberIds = std::map<std::string, DISPID, std::less<>>;
struct ObjectClass {
    std::shared_ptr<MemberIds> members = std::make_shared<MemberIds>();
    std::map<std::pair<std::string, const void*>, std::shared_ptr<ObjectClass>> returned;
};

class ComObject : public Object {
public:
    explicit ComObject(ComRef<IDispatch> dispatch,
                       std::shared_ptr<ObjectClass> objectClass = std::make_shared<ObjectClass>())
        : dispatch_(std::move(dispatch)), class_(std::move(objectClass)) {}

    Value Invoke(std::string_view member, std::span<Argument> arguments) override;
    void Set(std::string_view member, const Value& value) override;

    const ComRef<IDispatch>& Dispatch() const { return dispatch_; }

private:
    DISPID IdOf(std::string_view member);
    ObjectRef Returned(std::string_view member, ComRef<IDispatch> dispatch);

    ComRef<IDispatch> dispatch_;
    std::shared_ptr<ObjectClass> class_;
};

// Any object as an IDispatch, for COM objects that are handed one of ours.
ComRef<IDispatch> AdapterAround(ObjectRef object);

// The interface of a COM object, or a new one around any other object.
ComRef<IDispatch> DispatchOf(const ObjectRef& object);

// The object that an adapter of ours in this process is around; null for any other interface.
ObjectRef ObjectInside(IDispatch* dispatch);

// What a caller handed in: the object that DispatchOf wrapped, or a new ComObject.
ObjectRef ObjectOf(ComRef<IDispatch> dispatch);

// An object that came from COM goes out as itself, any other as an IDispatch around it.
void ToVariant(const Value& value, VARIANT& variant);

// How an interface pointer, never null, becomes an object.
using MakeObject = std::function<ObjectRef(ComRef<IDispatch>)>;

// References are followed. Wide whole numbers become a Long where they fit and a Double where they don't,
// currency and decimals a Double. Raises "type mismatch" for arrays, error values and interfaces that are not
// late-bound.
Value FromVariant(const VARIANT& variant, const MakeObject& makeObject = ObjectOf);

class ComObjectFactory : public ObjectFactory {
public:
    ObjectRef CreateObject(std::string_view progId) override;

private:
    std::map<std::string, std::shared_ptr<MemberIds>, std::less<>> classes_;  // by ProgID
};

}  // namespace iqrx::platform::windows
