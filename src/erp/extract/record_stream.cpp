#include "erp/extract/record_stream.h"

#include <utility>

#include "erp/extract/late_bound.h"

namespace iqrx::erp::extract {

namespace {

// The caller's current record, the one that it assigns next, and one that it may set aside.
constexpr std::size_t kRecordsKept = 3;

}  // namespace

bool Records::operator()(Record& record) {
    do {
        if (rows_->Next()) continue;
        if (const auto atEnd = std::exchange(atEnd_, nullptr)) atEnd();
        return false;
    } while (!keep_(*rows_));
    rows_->Decode(record);
    return true;
}

bool Elements::HasMore() {
    if (ahead_ || ended_) return !ended_;
    auto record = FreeRecord();
    if (stream_(*record))
        ahead_ = std::move(record);
    else
        ended_ = true;
    return !ended_;
}

std::shared_ptr<Record> Elements::Next() {
    if (!HasMore()) Raise(platform::kInvalidProcedureCall, "There are no more elements");
    return std::exchange(ahead_, nullptr);
}

std::shared_ptr<Record> Elements::FreeRecord() {
    for (const auto& record : used_)
        if (record.use_count() == 1) return record;
    auto record = std::make_shared<Record>(fields_);
    if (used_.size() < kRecordsKept) used_.push_back(record);
    return record;
}

platform::Value Enumerator::Invoke(std::string_view member, std::span<platform::Argument> arguments) {
    ExpectArguments(arguments, 0);
    if (member == "hasMoreElements") return elements_.HasMore();
    if (member == "nextElement") return platform::ObjectRef(elements_.Next());
    RaiseNoSuchMember("The enumerator", member);
}

}  // namespace iqrx::erp::extract
