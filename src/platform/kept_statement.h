// A statement that outlives the call in which it was given.
#pragma once

#include <string>
#include <vector>

#include "platform/statement.h"

namespace iqrx::platform {

class KeptStatement {
public:
    KeptStatement() = default;
    explicit KeptStatement(const Statement& statement);
    KeptStatement(KeptStatement&&) = default;
    KeptStatement& operator=(KeptStatement&&) = default;

    Statement Borrowed() const;  // from this

private:
    Shape shape_;
    std::string text_;  // of a statement without a shape; else the table's name
    std::vector<Literal> values_;
    std::vector<char> letters_;  // of the values' texts, which stay where they are when this is moved
};

}  // namespace iqrx::platform
