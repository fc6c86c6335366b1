#include "erp/extract/run_list.h"

namespace iqrx::erp::extract {

namespace {

constexpr unsigned kBits = 7;
constexpr std::uint64_t kMore = 1U << kBits;  // another byte follows

void Code(std::string& coded, std::uint64_t number) {
    for (; number >= kMore; number >>= kBits) coded += static_cast<char>(number % kMore | kMore);
    coded += static_cast<char>(number);
}

std::uint64_t Decode(const char*& coded) {
    std::uint64_t number = 0;
    for (unsigned shift = 0;; shift += kBits) {
        const auto byte = static_cast<unsigned char>(*coded++);
        number |= (byte % kMore) << shift;
        if (byte < kMore) return number;
    }
}

}  // namespace

void RunList::Add(const Rows::Run& run) {
    if (last_.end == run.start.offset) {
        last_.end = run.end;
        return;
    }
    if (count_ == kMostRuns) JoinPairs();
    Append(run);
}

void RunList::Append(const Rows::Run& run) {
    if (count_++ > 0) {
        Code(coded_, last_.start.offset - before_.end);
        Code(coded_, last_.start.line - before_.start.line);
        Code(coded_, last_.end - last_.start.offset);
        before_ = last_;
    }
    last_ = run;
}

std::vector<Rows::Run> RunList::All() const {
    std::vector<Rows::Run> runs;
    if (count_ == 0) return runs;
    runs.reserve(count_);
    Rows::Run run;
    for (const char* next = coded_.data(); runs.size() + 1 < count_; runs.push_back(run)) {
        run.start.offset = run.end + Decode(next);
        run.start.line += Decode(next);
        run.end = run.start.offset + Decode(next);
    }
    runs.push_back(last_);
    return runs;
}

void RunList::JoinPairs() {
    const std::vector<Rows::Run> runs = All();
    *this = {};
    for (std::size_t i = 0; i + 1 < runs.size(); i += 2) Append({runs[i].start, runs[i + 1].end});
}

}  // namespace iqrx::erp::extract
