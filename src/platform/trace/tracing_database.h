// A database whose statements are traced: connections and recordsets of another provider that append a line
// for each statement, with the error of one that failed. What is executed stays the same.
#pragma once

#include <filesystem>
#include <memory>

#include "platform/database.h"
#include "platform/trace/trace_file.h"

namespace iqrx::platform::trace {

// The traced connection owns the other.
std::unique_ptr<Connection> Traced(std::unique_ptr<Connection> connection, std::shared_ptr<TraceFile> trace);

class TracingDatabaseProvider final : public DatabaseProvider {
public:
    // Raises RuntimeError that names the file when it can't be written. `provider` must outlive this.
    TracingDatabaseProvider(DatabaseProvider& provider, const std::filesystem::path& file);

    std::unique_ptr<Connection> CreateConnection(std::string_view connectionString) override;

private:
    DatabaseProvider& provider_;
    std::shared_ptr<TraceFile> trace_;
};

}  // namespace iqrx::platform::trace
