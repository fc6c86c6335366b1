#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>
#include <ostream>

#include "platform/printable.h"
#include "platform/text.h"
#include "qrxctl/command.h"
#include "qrxctl/lines.h"
#include "qrxctl/sample_mark.h"
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
        command.add_flag("--force", force_, "overwrite whatever extract the directory holds");
    }

    void Check(const Options&) const override {
        if (directory_.empty()) throw CLI::RequiredError(where_->get_name());
        if (!*orders_) throw CLI::RequiredError(orders_->get_name());
    }

    ExitCode Run(const Workplace& place) override {
        const std::filesystem::path directory = platform::Path(directory_);
        if (!force_) RefuseOthersFiles(directory);
        sample::WriteSample(directory, size_);
        Tell(place, MarkSample(directory));
        return kAllWell;
    }

private:
    static void RefuseOthersFiles(const std::filesystem::path& directory) {
        const std::string foreign = FirstForeignFile(directory);
        if (!foreign.empty())
            throw UsageError(
                platform::Shown(directory) + " holds " + foreign +
                ", which is no sample of this tool; name another directory, or --force to overwrite");
    }

    void Tell(const Workplace& place, const Marked& written) const {
        if (place.options.json)
            place.out << nlohmann::ordered_json{{"schema", 1},
                                                {"directory", directory_},
                                                {"files", written.files},
                                                {"bytes", written.bytes},
                                                {"orders", size_.orders},
                                                {"changes", size_.changes}}
                             .dump(-1, ' ', false, nlohmann::json::error_handler_t::replace)
                      << '\n';
        else if (!place.options.quiet)
            place.out << Fact(
                "ok", "sample",
                fmt::format("{}, {}, {} orders, {} changes", platform::Shown(platform::Path(directory_)),
                            Counted(written.files, "file"), Grouped(size_.orders), Grouped(size_.changes)));
    }

    std::string directory_;
    sample::SampleSize size_;
    bool force_ = false;
    CLI::Option* where_ = nullptr;
    CLI::Option* orders_ = nullptr;
};

}  // namespace

std::unique_ptr<Command> MakeSample() { return std::make_unique<SampleCommand>(); }

}  // namespace iqrx::qrxctl
