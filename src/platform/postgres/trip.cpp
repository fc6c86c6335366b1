#include "platform/postgres/trip.h"

#include <iterator>
#include <utility>

namespace iqrx::platform::postgres {

void Trip::Add(Load load) {
    ++rows_;
    if (unit_ == Unit::Begun && !first_) {
        first_ = std::move(load);
        return;
    }
    if (unit_ == Unit::Begun) AppendBegun();
    Append(std::move(load));
}

void Trip::AppendBegun() {
    unit_ = Unit::Open;
    unitAt_ = loads_.size();
    loads_.push_back({.entry = {.kind = Entry::Kind::UnitBegin}});
    Append(std::move(*std::exchange(first_, std::nullopt)));
}

void Trip::EndUnit() {
    if (first_) Append(std::move(*std::exchange(first_, std::nullopt)));
    if (unit_ == Unit::Open) loads_.push_back({.entry = {.kind = Entry::Kind::UnitEnd}});
    unit_ = Unit::None;
}

void Trip::Append(Load load) {
    Load* const last = loads_.empty() ? nullptr : &loads_.back();
    if (last && last->rows && last->upsert == load.upsert && last->rows->Add(load.parameters)) {
        last->entry.writes.push_back(std::move(load.entry.writes.front()));
        return;
    }
    if (load.upsert && load.upsert->many) {
        load.rows = std::make_unique<Arrays>(load.upsert->columns);
        if (!load.rows->Add(load.parameters)) load.rows.reset();
    }
    loads_.push_back(std::move(load));
}

Trip::Content Trip::Take() {
    if (first_) AppendBegun();
    Content content{.whole = std::exchange(loads_, {}), .begun = {}};
    if (unit_ == Unit::Open) {
        const auto unit = content.whole.begin() + static_cast<std::ptrdiff_t>(unitAt_);
        content.begun.assign(std::make_move_iterator(unit + 1), std::make_move_iterator(content.whole.end()));
        content.whole.erase(unit, content.whole.end());
    }
    unit_ = Unit::None;
    rows_ = 0;
    return content;
}

}  // namespace iqrx::platform::postgres
