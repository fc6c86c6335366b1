// What was told of statements that nobody waited for, a line for each.
#pragma once

#include <string>
#include <vector>

#include "platform/answers.h"
#include "platform/error.h"

namespace iqrx::testing {

struct Heard : platform::Answers {
    void Executed(std::int32_t affected) override { Say("executed", affected); }
    void Updated(std::int32_t affected) override { Say("updated", affected); }
    void Inserted(std::int32_t affected) override { Say("inserted", affected); }
    void Failed(const platform::RuntimeError& error) override {
        said.push_back("failed: " + error.description);
    }
    void NotSent() override { said.push_back("not sent"); }
    void Say(const std::string& what, std::int32_t affected) {
        said.push_back(what + " " + std::to_string(affected));
    }

    std::vector<std::string> said;
};

}  // namespace iqrx::testing
