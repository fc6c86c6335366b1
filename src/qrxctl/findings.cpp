#include "qrxctl/findings.h"

#include <fmt/format.h>

#include <algorithm>
#include <nlohmann/json.hpp>

#include "qrxctl/lines.h"

namespace iqrx::qrxctl {

namespace {

using Grade = CheckedItem::Grade;

const char* WordOf(Grade grade) {
    if (grade == Grade::Ok) return "ok";
    return grade == Grade::Note ? "note" : "wrong";
}

}  // namespace

void Findings::Ok(std::string subject, std::string text, std::string step) {
    all_.push_back({Grade::Ok, std::move(subject), std::move(text), std::move(step)});
}

void Findings::Note(std::string subject, std::string text, std::string step) {
    all_.push_back({Grade::Note, std::move(subject), std::move(text), std::move(step)});
}

void Findings::Wrong(std::string subject, std::string text, std::string step) {
    all_.push_back({Grade::Wrong, std::move(subject), std::move(text), std::move(step)});
}

std::int64_t Findings::Count(Grade grade) const {
    return std::ranges::count(all_, grade, &CheckedItem::grade);
}

std::string Findings::Text(bool onlyWhatIsWrong) const {
    std::string lines;
    for (const CheckedItem& finding : all_) {
        if (onlyWhatIsWrong && finding.grade != Grade::Wrong) continue;
        lines += Fact(WordOf(finding.grade), finding.subject, finding.text);
        if (!finding.step.empty()) lines += NextStep(finding.step);
    }
    if (!onlyWhatIsWrong)
        lines += fmt::format("{} items ok or noted, {} wrong\n", Count(Grade::Ok) + Count(Grade::Note),
                             Count(Grade::Wrong));
    return lines;
}

std::string Findings::Json() const {
    using nlohmann::ordered_json;
    ordered_json items = ordered_json::array();
    for (const CheckedItem& finding : all_) {
        ordered_json item{
            {"grade", WordOf(finding.grade)}, {"subject", finding.subject}, {"text", finding.text}};
        if (!finding.step.empty()) item["step"] = finding.step;
        items.push_back(std::move(item));
    }
    return ordered_json{{"schema", 1},
                        {"items", std::move(items)},
                        {"ok", Count(Grade::Ok)},
                        {"noted", Count(Grade::Note)},
                        {"wrong", Count(Grade::Wrong)}}
        .dump(-1, ' ', false, ordered_json::error_handler_t::replace);
}

}  // namespace iqrx::qrxctl
