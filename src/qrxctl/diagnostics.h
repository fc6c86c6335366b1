// What the parts that the tool shares with the service tell on standard error, said in the tool's own name.
#pragma once

#include <ostream>
#include <streambuf>
#include <string>

namespace iqrx::qrxctl {

// A stream that hands each line on once it is whole. For one thread, as the process whose diagnostics it takes.
class Diagnostics final : private std::streambuf, public std::ostream {
public:
    explicit Diagnostics(std::ostream& talk);  // borrowed

private:
    int overflow(int character) override;

    std::ostream& talk_;
    std::string line_;
};

}  // namespace iqrx::qrxctl
