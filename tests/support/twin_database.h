// Two databases behind one connection: every statement goes to both. What they say of it must be the same.
#pragma once

#include <filesystem>
#include <functional>
#include <memory>

#include "platform/database.h"

namespace iqrx::testing {

struct Twin {
    std::function<std::unique_ptr<platform::Connection>()> make;
    std::string connectionString;
    bool takesTexts = false;  // and no shapes
};

class TwinDatabases : public platform::DatabaseProvider {
public:
    // Both have the same tables in them. Two of a kind fail with the same words, too.
    TwinDatabases(Twin first, Twin second, bool ofAKind)
        : first_(std::move(first)), second_(std::move(second)), ofAKind_(ofAKind) {}
    std::unique_ptr<platform::Connection> CreateConnection(std::string_view connectionString) override;

    // The statements that could not be bound: their texts went to both.
    std::vector<std::string> unbound;
    int statements = 0;

private:
    const Twin first_, second_;
    const bool ofAKind_;
};

Twin EmbeddedTwin(const std::filesystem::path& file, bool takesTexts = false);

// Fails where a value of any table of two embedded databases differs in its type or in a bit. Nothing may be
// uncommitted.
void ExpectEqualFiles(const std::filesystem::path& first, const std::filesystem::path& second);

// The same of what a reader of the tables finds in two databases of any kind.
void ExpectEqualTables(const Twin& first, const Twin& second, const std::vector<std::string>& tables);

}  // namespace iqrx::testing
