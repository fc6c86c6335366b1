// Rows that travel to one statement as arrays of texts, one array a column, in the server's binary form.
#pragma once

#include <string>
#include <unordered_set>
#include <vector>

#include "platform/postgres/parameters.h"

namespace iqrx::platform::postgres {

// A column, and the places of a row's parameters that its text stands in.
struct Column {
    std::string name;
    std::vector<std::size_t> places;
    bool isKey = false;
};

class Arrays {
public:
    explicit Arrays(const std::vector<Column>& columns);  // which must outlive this

    // False, and the row is not taken: two places of a column have different texts, or a row with the same
    // key is among them, and one statement writes a row once.
    bool Add(const Parameters& row);

    std::size_t Rows() const { return rows_; }

    // Of a statement's parameters: one a column, valid until a row is added.
    struct Values {
        std::vector<const char*> starts;
        std::vector<int> sizes, formats;
    };
    const Values& Ready();

private:
    const std::vector<Column>& columns_;
    std::vector<std::string> cells_;  // of each column: a head, and the texts after their lengths
    std::vector<char> hasNulls_;
    std::unordered_set<std::string> keys_;
    std::size_t rows_ = 0;
    Values values_;
};

}  // namespace iqrx::platform::postgres
