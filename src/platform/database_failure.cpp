#include "platform/database_failure.h"

namespace iqrx::platform {

ErrorEntry EntryOf(const std::exception_ptr& failure) {
    try {
        std::rethrow_exception(failure);
    } catch (const DatabaseFailure& error) {
        return {error.number, error.source, error.description, error.sqlState};
    } catch (...) {
        const RuntimeError error = CurrentError();
        return {error.number, error.source, error.description, "HY000"};
    }
}

}  // namespace iqrx::platform
