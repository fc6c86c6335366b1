#include <CLI/CLI.hpp>
#include <ostream>

#include "platform/text.h"
#include "qrxctl/command.h"
#include "qrxctl/moments.h"
#include "qrxctl/screen.h"
#include "qrxctl/status_output.h"

namespace iqrx::qrxctl {

namespace {

// A text in place of what the screen shows, cut to its lines: line by line and not by an empty screen, which
// would flicker.
std::string Rewriting(const std::string& text, int lines) {
    std::string rewriting = "\x1b[H";
    std::size_t begin = 0;
    for (int line = 1; begin < text.size() && (lines == 0 || line < lines); ++line) {
        const std::size_t end = std::min(text.find('\n', begin), text.size());
        rewriting += text.substr(begin, end - begin) + "\x1b[K\r\n";
        begin = end + 1;
    }
    return rewriting + "\x1b[J";
}

class StatusCommand : public Command {
public:
    void AddOptions(CLI::App& command) override {
        command.add_option("tables", question_.tables, "names, patterns (tssoc*) or groups; none: all");
        watch_ = command
                     .add_option("--watch", interval_, "show it again every 2s, or as often as said; q ends it")
                     ->expected(0, 1)
                     ->check(SpanText());
        command.add_option("--max-age", maxAge_, "a table that was copied longer ago is wrong: 30m, 8h, 2d")
            ->check(SpanText());
        prometheus_ =
            command.add_option("--prometheus", metrics_, "write metrics to this file and show nothing")
                ->excludes(watch_);
        command.add_flag("--read", read_, "which stretches of the trails were read, and the gaps");
        command.add_flag("--count", question_.countAll, "count the rows of large tables, too");
    }

    void Check(const Options& options) const override {
        RequireConnection(options);
        if (*prometheus_ && metrics_.empty()) throw CLI::RequiredError("FILE of --prometheus");
    }

    ExitCode Run(const Workplace& place) override {
        hosting::Composition parts(place.surroundings);
        return watch_->count() > 0 ? Watch(parts, place) : Show(parts, place);
    }

private:
    struct Shown {
        std::string text;
        ExitCode code;
    };

    Shown Look(hosting::Composition& parts, const Options& options) const {
        const Overview overview = ReadOverview(parts, options, question_);
        const auto judgements = Judge(overview, maxAge_.empty() ? std::nullopt : ParseSpan(maxAge_));
        const ExitCode code = CodeOf(judgements);
        if (!metrics_.empty()) WriteMetrics(parts.Host(), StatusMetrics(overview));
        if (options.json) return {StatusJson(overview, judgements, parts.Host()), code};
        if (options.quiet) return {FindingLines(overview, judgements, true), code};
        if (!metrics_.empty()) return {"", code};
        if (read_) return {ReadText(overview), code};
        return {StatusText(overview, judgements, watch_->count() > 0), code};
    }

    // A new file is for every collector to read; one that is there keeps its permissions.
    void WriteMetrics(platform::Host& host, const std::string& text) const {
        using std::filesystem::perms;
        const std::filesystem::path file = platform::Path(metrics_);
        const bool isNew = !std::filesystem::exists(file);
        host.Replace(file, text);
        if (isNew)
            std::filesystem::permissions(file, perms::group_read | perms::others_read,
                                         std::filesystem::perm_options::add);
    }

    ExitCode Show(hosting::Composition& parts, const Workplace& place) const {
        const Shown shown = Look(parts, place.options);
        place.out << shown.text << std::flush;
        return shown.code;
    }

    ExitCode Watch(hosting::Composition& parts, const Workplace& place) const {
        constexpr std::int64_t kEveryTwoSeconds = 2;
        const auto wanted = ParseSpan(interval_).value_or(kEveryTwoSeconds);
        const std::chrono::seconds interval(std::max<std::int64_t>(1, wanted));
        Screen screen;
        const bool rewrites = screen.CanRewrite() && !place.options.json;
        if (rewrites) place.out << "\x1b[2J";
        for (;;) {
            const Shown shown = Look(parts, place.options);
            place.out << (rewrites ? Rewriting(shown.text, screen.Lines()) : shown.text) << std::flush;
            if (screen.EndsWithin(interval)) return shown.code;
        }
    }

    StatusQuestion question_;
    std::string interval_, maxAge_, metrics_;
    bool read_ = false;
    CLI::Option* watch_ = nullptr;
    CLI::Option* prometheus_ = nullptr;
};

}  // namespace

std::unique_ptr<Command> MakeStatus() { return std::make_unique<StatusCommand>(); }

}  // namespace iqrx::qrxctl
