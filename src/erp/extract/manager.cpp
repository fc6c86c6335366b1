#include "erp/extract/manager.h"

#include <algorithm>

#include "erp/extract/late_bound.h"
#include "platform/conversions.h"

namespace iqrx::erp::extract {

namespace {

using platform::Argument;
using platform::ObjectRef;
using platform::Value;

class NoRecords final : public RecordStream {
public:
    bool Read(Record&) override { return false; }
};

// The records behind the one with the given key, in the file's order.
class RecordsAfter final : public RecordStream {
public:
    RecordsAfter(SelectedRecords records, std::vector<std::string> key)
        : records_(std::move(records)), key_(std::move(key)) {}

    bool Read(Record& record) override {
        while (!found_) {
            if (!records_.Read(record)) return false;
            found_ = HasKey(record);
        }
        return records_.Read(record);
    }

private:
    bool HasKey(Record& record) const {
        for (std::size_t i = 0; i < key_.size(); ++i)
            if (record.At(i).Is<platform::Null>() || platform::ToText(record.At(i)) != key_[i]) return false;
        return true;
    }

    SelectedRecords records_;
    std::vector<std::string> key_;
    bool found_ = false;
};

// The text that the first key field must be, where the bounds leave it no choice.
const std::string* SoleFirstKey(const TableLayout& layout, std::span<const Argument> bounds) {
    if (bounds.size() < 2 || layout.fields.empty()) return nullptr;
    const FieldLayout& first = layout.fields.front();
    if (!first.key || first.kind != FieldKind::Text) return nullptr;
    const auto* from = std::get_if<std::string>(&bounds[0].value);
    const auto* to = std::get_if<std::string>(&bounds[1].value);
    return from && to && *from == *to ? from : nullptr;
}

}  // namespace

Manager::Manager(std::filesystem::path directory, const TableLayout& layout)
    : directory_(std::move(directory)),
      layout_(layout),
      shape_(std::make_shared<RecordShape>(layout.fields)),
      listings_({"getRecordSetObjects", "sizeObjects", "getObjectsAt"}) {}

Value Manager::Invoke(std::string_view member, std::span<Argument> arguments) {
    if (member == "SetRunParameter") {
        ExpectArguments(arguments, 1);  // it has named the directory already
        return {};
    }
    if (member == "CloseManager") {
        ExpectArguments(arguments, 0);
        listings_.Close();
        return {};
    }
    if (member == "GetByKeyRange") return GetByKeyRange(arguments);
    if (member == "GetByStatusRange") return GetByStatusRange(arguments);
    if (member == "ListObjects") return ListObjects(arguments);
    RaiseNoSuchMember("The manager", member);
}

std::filesystem::path Manager::RecordsFile() const {
    return directory_ / (std::string(layout_.table) + ".csv");
}

std::filesystem::path Manager::AuditFile() const {
    return directory_ / (std::string(layout_.table) + ".audit.csv");
}

Value Manager::GetByKeyRange(std::span<const Argument> arguments) {
    if (arguments.size() % 2 != 0) ExpectArguments(arguments, arguments.size() + 1);
    if (const std::string* key = SoleFirstKey(layout_, arguments))
        return SelectByKey(*key, RangesOfKeys(arguments));
    return Select(RangesOfKeys(arguments));
}

Value Manager::GetByStatusRange(std::span<const Argument> arguments) const {
    ExpectArguments(arguments, 4);
    const auto status = std::find_if(layout_.fields.begin(), layout_.fields.end(),
                                     [](const FieldLayout& field) { return field.status; });
    if (status == layout_.fields.end())
        Raise(platform::kNoSuchMember, "The table " + std::string(layout_.table) + " has no status field");
    KeyRanges ranges = RangesOfKeys(arguments.first(2));
    ranges.emplace_back(static_cast<std::size_t>(status - layout_.fields.begin()), status->kind,
                        arguments[2].value, arguments[3].value);
    return Select(std::move(ranges));
}

// A pair of bounds per key field; a field without bounds is not restricted, pairs beyond the key are ignored.
KeyRanges Manager::RangesOfKeys(std::span<const Argument> bounds) const {
    KeyRanges ranges;
    for (std::size_t field = 0; field < layout_.fields.size() && 2 * field + 1 < bounds.size(); ++field) {
        if (!layout_.fields[field].key) break;
        ranges.emplace_back(field, layout_.fields[field].kind, bounds[2 * field].value,
                            bounds[2 * field + 1].value);
    }
    return ranges;
}

Value Manager::Select(KeyRanges ranges) const {
    if (!Exists(RecordsFile())) return ObjectRef();
    auto records = std::make_unique<SelectedRecords>(RecordsFile(), layout_.fields, std::move(ranges));
    return ObjectRef(std::make_shared<Enumerator>(Elements(std::move(records), shape_)));
}

Value Manager::SelectByKey(const std::string& key, KeyRanges ranges) {
    if (!Exists(RecordsFile())) return ObjectRef();
    if (!keyBlocks_) keyBlocks_.emplace(RecordsFile(), layout_.fields);
    auto records = std::make_unique<RecordsInBlocks>(RecordsFile(), layout_.fields, std::move(ranges),
                                                     keyBlocks_->Holding(key));
    return ObjectRef(std::make_shared<Enumerator>(Elements(std::move(records), shape_)));
}

// Key to continue from (three fields), page size, call id, set-complete flag.
Value Manager::ListObjects(std::span<Argument> arguments) {
    ExpectArguments(arguments, 6);
    return listings_.NextPage([&] { return ElementsAfter(arguments.first(3)); }, arguments[3], arguments[4],
                              arguments[5]);
}

Elements Manager::ElementsAfter(std::span<const Argument> key) const {
    if (!Exists(RecordsFile())) return {std::make_unique<NoRecords>(), shape_};
    SelectedRecords records(RecordsFile(), layout_.fields, {});
    std::vector<std::string> texts;
    for (const Argument& part : key) texts.push_back(platform::ToText(part.value));
    if (texts[0].empty() && texts[1].empty())
        return {std::make_unique<SelectedRecords>(std::move(records)), shape_};
    return {std::make_unique<RecordsAfter>(std::move(records), std::move(texts)), shape_};
}

}  // namespace iqrx::erp::extract
