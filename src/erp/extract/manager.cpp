#include "erp/extract/manager.h"

#include <algorithm>
#include <utility>

#include "erp/extract/late_bound.h"
#include "platform/conversions.h"

namespace iqrx::erp::extract {

namespace {

// True from the row after the one with the given key on.
Keep After(std::vector<std::string> key) {
    return [key = std::move(key), found = false](const Rows& row) mutable {
        if (found) return true;
        found = true;
        for (std::size_t field = 0; field < key.size() && found; ++field) {
            const Value value = row.Decode(field);
            found = !value.Is<platform::Null>() && platform::ToText(value) == key[field];
        }
        return false;
    };
}

// The text that the first key field must be, where the bounds leave it no choice.
const std::string* SoleFirstKey(const TableLayout& layout, std::span<const Argument> bounds) {
    if (bounds.size() < 2 || layout.fields.empty()) return nullptr;
    const FieldLayout& first = layout.fields.front();
    if (!first.key || first.kind != FieldKind::Text) return nullptr;
    const auto* from = std::get_if<std::string>(&bounds[0].value);
    const auto* to = std::get_if<std::string>(&bounds[1].value);
    return from && to && *from == *to ? from : nullptr;
}

// The records of a listing whose keys lie outside of its ranges. They are not copied, and a full copy removes
// them from the local table, so that somebody should know.
class KeysOutside {
public:
    KeysOutside(std::string file, std::size_t keyFields, Notice notice)
        : file_(std::move(file)), keyFields_(keyFields), notice_(std::move(notice)) {}

    void Add(const Rows& row) {
        if (++count_ > 1) return;
        for (std::size_t field = 0; field < keyFields_; ++field)
            first_.append(field == 0 ? "" : ", ").append(row.Text(field));
    }

    // Tells how many there were and which was the first, unless there was none or nobody listens.
    void Tell() const {
        if (count_ == 0 || !notice_) return;
        constexpr std::size_t kLongest = 100;
        const std::string first = "\"" + platform::Printable(first_, kLongest) + "\"";
        const std::string range = " outside the key range that the copy asks for, ";
        notice_(file_ + ": " +
                (count_ == 1 ? "1 record lies" + range + first + "; it is not copied"
                             : std::to_string(count_) + " records lie" + range + "the first is " + first +
                                   "; they are not copied"));
    }

private:
    std::string file_;
    std::size_t keyFields_;
    Notice notice_;
    std::uint64_t count_ = 0;
    std::string first_;  // its key
};

}  // namespace

Manager::Manager(std::filesystem::path directory, const TableLayout& layout, Notice notice)
    : directory_(std::move(directory)),
      layout_(layout),
      notice_(std::move(notice)),
      listings_({"getRecordSetObjects", "sizeObjects", "getObjectsAt"}) {}

Value Manager::Invoke(std::string_view member, std::span<Argument> arguments) {
    if (member == "SetRunParameter") {
        ExpectArguments(arguments, 1);  // it has named the directory already
        return {};
    }
    if (member == "CloseManager") {
        ExpectArguments(arguments, 0);
        listings_.Close();
        keyBlocks_.reset();
        keyRows_.reset();
        file_.reset();
        return {};
    }
    if (member == "GetByKeyRange") return GetByKeyRange(arguments);
    if (member == "GetByStatusRange") return GetByStatusRange(arguments);
    if (member == "ListObjects") return ListObjects(arguments);
    RaiseNoSuchMember("The manager", member);
}

// All that this manager reads comes from the file as it was when it was first needed.
std::shared_ptr<Rows> Manager::AllRows() {
    if (!file_)
        file_ = std::make_shared<SourceFile>(directory_ / (std::string(layout_.table) + ".csv"), kErrorSource);
    return std::make_shared<Rows>(file_, layout_.fields);
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

Value Manager::GetByStatusRange(std::span<const Argument> arguments) {
    ExpectArguments(arguments, 4);
    const auto status = std::ranges::find_if(layout_.fields, &FieldLayout::status);
    if (status == layout_.fields.end())
        Raise(platform::kNoSuchMember, "The table " + std::string(layout_.table) + " has no status field");
    return Select(RangesOfKeys(arguments.first(2)),
                  KeyRange(static_cast<std::size_t>(status - layout_.fields.begin()), status->kind,
                           arguments[2].value, arguments[3].value));
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

// The first listing tells of the records outside; the next ones read the same file.
Value Manager::Select(KeyRanges keys, std::optional<KeyRange> status) {
    auto rows = AllRows();
    const auto outside =
        std::make_shared<KeysOutside>(file_->Name(), keys.size(), std::exchange(notice_, nullptr));
    const auto keep = [keys = std::move(keys), status = std::move(status), outside](const Rows& row) {
        if (Contain(keys, row)) return !status || status->Contains(row);
        outside->Add(row);
        return false;
    };
    return EnumeratorOver(RecordsOf(std::move(rows), keep, [outside] { outside->Tell(); }));
}

Value Manager::SelectByKey(const std::string& key, KeyRanges ranges) {
    if (!keyBlocks_) keyBlocks_.emplace(std::move(*AllRows()));
    const auto keep = [ranges = std::move(ranges)](const Rows& row) { return Contain(ranges, row); };
    // An enumeration that is still held goes on in rows of its own.
    if (!keyRows_ || keyRows_.use_count() > 1) keyRows_ = AllRows();
    keyRows_->Restart(keyBlocks_->Holding(key));
    return EnumeratorOver(RecordsOf(keyRows_, keep));
}

Value Manager::EnumeratorOver(RecordStream records) const {
    return ObjectRef(std::make_shared<Enumerator>(Elements(std::move(records), layout_.fields)));
}

// Key to continue from (three fields), page size, call id, set-complete flag.
Value Manager::ListObjects(std::span<Argument> arguments) {
    ExpectArguments(arguments, 6);
    return listings_.NextPage([&] { return ElementsAfter(arguments.first(3)); }, arguments[3], arguments[4],
                              arguments[5]);
}

Elements Manager::ElementsAfter(std::span<const Argument> key) {
    std::vector<std::string> texts;
    for (const Argument& part : key) texts.push_back(platform::ToText(part.value));
    const bool fromTheFirst = texts[0].empty() && texts[1].empty();
    return {RecordsOf(AllRows(), fromTheFirst ? [](const Rows&) { return true; } : After(std::move(texts))),
            layout_.fields};
}

}  // namespace iqrx::erp::extract
