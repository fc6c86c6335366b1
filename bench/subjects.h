// Tables that benchmarks fill, with rows as an ERP has them, whose cells need no quotes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "plain_loop.h"

namespace iqrx::bench {

struct Subject {
    std::string table;
    int id;
    std::size_t keys;
    std::vector<std::string> columns;  // keys first
    std::vector<std::string> fields;   // the same in the extract
    std::function<Row(int)> row;
};

extern const Subject kServiceTypes, kAddresses, kServiceObjects, kOrders;

std::vector<Row> Rows(const Subject& subject, std::int64_t count);

}  // namespace iqrx::bench
