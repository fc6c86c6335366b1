// ADO's Errors collection.
#pragma once

#include "platform/database.h"
#include "platform/error.h"
#include "platform/object.h"

namespace iqrx::platform::ado {

// Takes the entries of a connection's collection over into `errors` and clears the collection, so that an
// entry is reported once. Entries already there stay when the collection is empty. Never raises: what it is
// asked for in is a failure already.
void TakeErrors(Object& connection, Errors& errors);

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
