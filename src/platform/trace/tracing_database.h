// A database whose statements are traced: connections and recordsets of another provider that append a line
// for each statement, with the error of one that failed. What is executed stays the same.
#pragma once

#include <filesystem>
#include <memory>

#include "platform/database.h"
#include "platform/machine.h"

namespace iqrx::platform::trace {

class TracingDatabaseProvider final : public DatabaseProvider {
public:
    // Appends to the file. Raises RuntimeError that names it when it can't be written. `provider` must
    // outlive this.
    TracingDatabaseProvider(DatabaseProvider& provider, TextFiles& files, const std::filesystem::path& file);

    std::unique_ptr<Connection> CreateConnection(std::string_view connectionString) override;

private:
    DatabaseProvider& provider_;
    std::shared_ptr<AppendingFile> trace_;
};

}  // namespace iqrx::platform::trace
