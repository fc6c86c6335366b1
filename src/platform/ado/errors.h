// ADO's Errors collection.
#pragma once

#include "platform/conversions.h"
#include "platform/database.h"
#include "platform/error.h"
#include "platform/object.h"
#include "platform/printable.h"

namespace iqrx::platform::ado {

inline ErrorEntry EntryOf(Object& error) {
    return {ToLong(error.Get("Number")), ToText(error.Get("Source")),
            Printable(ToText(error.Get("Description"))), ToText(error.Get("SQLState"))};
}

// Makes the calls of somebody who can do nothing about their failure.
template <class F>
void Quietly(F call) {
    try {
        call();
    } catch (const RuntimeError&) {
    }
}

// Takes the entries of a connection's collection over into `errors` and clears the collection, so that an
// entry is reported once. Entries already there stay when the collection is empty. Never raises: what it is
// asked for in is a failure already.
inline void TakeErrors(Object& connection, Errors& errors) {
    Quietly([&] {
        const ObjectRef collection = ToObject(connection.Get("Errors"));
        const Long count = ToLong(collection->Get("Count"));
        if (count == 0) return;
        Errors taken;
        for (Long i = 0; i < count; ++i) taken.push_back(EntryOf(*ToObject(Call(*collection, "Item", i))));
        errors = std::move(taken);
        Call(*collection, "Clear");
    });
}

// Runs a call on ADO; when it fails, the error rises after the connection's entries were taken over.
template <class F>
auto TakingErrors(Object& connection, Errors& errors, F call) {
    try {
        return call();
    } catch (const RuntimeError&) {
        TakeErrors(connection, errors);
        throw;
    }
}

}  // namespace iqrx::platform::ado
