// A provider whose connections are another's, each in a wrapper.
#pragma once

#include <memory>
#include <utility>

#include "platform/database_wrapper.h"

namespace iqrx::platform::watch {

template <class Wrap>
class WrappingProvider final : public DatabaseProvider {
public:
    WrappingProvider(DatabaseProvider& provider, Wrap wrap) : provider_(provider), wrap_(std::move(wrap)) {}
    std::unique_ptr<Connection> CreateConnection(std::string_view connectionString) override {
        return wrap_(provider_.CreateConnection(connectionString));
    }

private:
    DatabaseProvider& provider_;
    Wrap wrap_;
};

// `wrap` takes the other's connection and returns the one around it.
template <class Wrap>
std::unique_ptr<DatabaseProvider> WrapEach(DatabaseProvider& provider, Wrap wrap) {
    return std::make_unique<WrappingProvider<Wrap>>(provider, std::move(wrap));
}

// Raises in place of a call, as a connection does that refuses it.
[[noreturn]] inline void Refuse(Connection& connection, std::int32_t number, const std::string& description,
                                const std::string& sqlState) {
    connection.LastErrors() = {{number, kProgram, description, sqlState}};
    throw RuntimeError(number, kProgram, description);
}

}  // namespace iqrx::platform::watch
