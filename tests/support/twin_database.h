// Two embedded databases behind one connection: every statement goes to the first as it comes and to the
// second as its text. What they say of it must be the same.
#pragma once

#include <filesystem>

#include "platform/database.h"

namespace iqrx::testing {

class TwinDatabases : public platform::DatabaseProvider {
public:
    // Both files exist with the same tables in them.
    TwinDatabases(std::filesystem::path bound, std::filesystem::path asTexts)
        : bound_(std::move(bound)), asTexts_(std::move(asTexts)) {}
    std::unique_ptr<platform::Connection> CreateConnection(std::string_view connectionString) override;

    // The statements that could not be bound: their texts went to both.
    std::vector<std::string> unbound;
    int statements = 0;

    // Fails where a value of any table differs in its type or in a bit. Nothing may be uncommitted.
    void ExpectEqual() const;

private:
    const std::filesystem::path bound_, asTexts_;
};

}  // namespace iqrx::testing
