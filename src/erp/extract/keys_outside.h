// The records of a listing whose keys lie outside of its ranges. They are not copied, and a full copy removes
// them from the local table, so that somebody should know.
#pragma once

#include <functional>
#include <string>

#include "erp/extract/rows.h"

namespace iqrx::erp::extract {

using Notice = std::function<void(const std::string& text)>;

class KeysOutside {
public:
    KeysOutside(std::string file, std::size_t keyFields, Notice notice)
        : file_(std::move(file)), keyFields_(keyFields), notice_(std::move(notice)) {}

    void Add(const Rows& row);
    // Tells how many there were and which was the first, unless there was none or nobody listens.
    void Tell() const;

private:
    std::string file_;
    std::size_t keyFields_;
    Notice notice_;
    std::uint64_t count_ = 0;
    std::string first_;  // its key
};

}  // namespace iqrx::erp::extract
