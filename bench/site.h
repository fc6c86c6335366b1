// A fresh installation in a temporary directory: an initialised database and an extract that a benchmark fills.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "plain_loop.h"

namespace iqrx::bench {

class Site {
public:
    Site();
    ~Site();
    Site(const Site&) = delete;
    Site& operator=(const Site&) = delete;

    std::filesystem::path Extract() const { return directory_ / "extract"; }
    std::filesystem::path Database() const { return directory_ / "local.db"; }

    void RenewDatabase();  // empty tables, a catalog
    // A file of the extract: a header and the rows, whose cells need no quotes.
    void WriteCsv(const std::string& file, const std::vector<std::string>& header,
                  const std::vector<Row>& rows);

    // One request of the service in this process, its statements traced or not. Raises std::runtime_error
    // when it does not complete.
    Seconds Copy(int tableId, bool full, bool traced = false);
    void SetLastUpdate(const std::string& table, const std::string& moment);

private:
    std::filesystem::path directory_;
};

}  // namespace iqrx::bench
