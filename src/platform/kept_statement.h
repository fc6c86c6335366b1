// A statement that outlives the call in which it was given.
#pragma once

#include <string>
#include <vector>

#include "platform/statement.h"

namespace iqrx::platform {

// Many are kept while they are on their way, and few of them are needed again: the values are packed.
class KeptStatement {
public:
    KeptStatement() = default;
    explicit KeptStatement(const Statement& statement);

    // From this, and from the room that the values were unpacked to.
    Statement Borrowed(std::vector<Literal>& room) const;

private:
    Shape shape_;
    std::string text_;  // of a statement without a shape; else the table's name
    std::string values_;
};

}  // namespace iqrx::platform
