// The rows that a sweep takes, as statements that bring them back.
#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "platform/value.h"

namespace iqrx::platform::watch {

// Takes the rows of one sweep after the other. Nothing is called for a sweep without rows.
class RemovedRows {
public:
    virtual ~RemovedRows() = default;
    virtual void Begin(std::string_view table) = 0;    // in lower case
    virtual void Row(std::string_view statement) = 0;  // INSERT, with upd_flag 0 and without a line end
    virtual void End() = 0;                            // all were told; the sweep is sent when this returns
};

// A moment as a literal of the database's dialect: "CONVERT(DATETIME,'2026-03-04 05:06:07',120)".
using DateLiteral = std::function<std::string(Date moment)>;

}  // namespace iqrx::platform::watch
