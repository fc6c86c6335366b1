#include "platform/ado/errors.h"

#include "platform/conversions.h"
#include "platform/printable.h"

namespace iqrx::platform::ado {

namespace {

ErrorEntry EntryOf(Object& error) {
    return {ToLong(error.Get("Number")), ToText(error.Get("Source")),
            Printable(ToText(error.Get("Description"))), ToText(error.Get("SQLState"))};
}

}  // namespace

void TakeErrors(Object& connection, Errors& errors) {
    try {
        const ObjectRef collection = ToObject(connection.Get("Errors"));
        const Long count = ToLong(collection->Get("Count"));
        if (count == 0) return;
        Errors taken;
        for (Long i = 0; i < count; ++i) taken.push_back(EntryOf(*ToObject(Call(*collection, "Item", i))));
        errors = std::move(taken);
        Call(*collection, "Clear");
    } catch (const RuntimeError&) {
        // A connection that can't even say what went wrong: the failure itself says it.
    }
}

}  // namespace iqrx::platform::ado
