#include "qrxctl/sample_command.h"

#include "sample/sample.h"

namespace iqrx::qrxctl {

namespace {

class SampleCommand : public Command {
public:
    void AddOptions(CLI::App& command) override {
        constexpr long kMostOrders = 9'999'999;  // what an order number has room for
        where_ = command.add_option("directory", directory_, "where to write it; required");
        orders_ = command.add_option("--orders", size_.orders, "number of service orders; required")
                      ->check(CLI::Range(0L, kMostOrders));
        command.add_option("--changes", size_.changes, "changes to orders in the audit trail")
            ->check(CLI::Range(0L, kMostOrders))
            ->capture_default_str();
        command.add_option("--seed", size_.seed, "the same seed gives the same data")->capture_default_str();
    }

    void Check(const Options&) const override {
        if (!*where_) throw CLI::RequiredError(where_->get_name());
        if (!*orders_) throw CLI::RequiredError(orders_->get_name());
    }

    ExitCode Run(const Workplace&) override {
        sample::WriteSample(std::u8string(directory_.begin(), directory_.end()), size_);
        return kAllWell;
    }

private:
    std::string directory_;
    sample::SampleSize size_;
    CLI::Option* where_ = nullptr;
    CLI::Option* orders_ = nullptr;
};

}  // namespace

std::unique_ptr<Command> MakeSample() { return std::make_unique<SampleCommand>(); }

}  // namespace iqrx::qrxctl
