#include "erp/extract/paging.h"

#include <utility>

#include "erp/extract/late_bound.h"
#include "platform/conversions.h"

namespace iqrx::erp::extract {

namespace {

using PageRecords = std::vector<std::shared_ptr<Record>>;

class Wrapper final : public platform::Object {
public:
    Wrapper(const PageMembers& members, PageRecords records)
        : members_(members), records_(std::move(records)) {}

    Value Invoke(std::string_view member, std::span<Argument> arguments) override {
        if (member == members_.at) return At(arguments);
        if (member != members_.size) RaiseNoSuchMember("The wrapper", member);
        ExpectArguments(arguments, 0);
        return static_cast<Long>(records_.size());
    }

private:
    Value At(std::span<Argument> arguments) const {
        ExpectArguments(arguments, 1);
        const Long index = platform::ToLong(arguments[0].value);
        if (index < 0 || static_cast<std::size_t>(index) >= records_.size())
            Raise(platform::kSubscriptOutOfRange, "The page has no record " + std::to_string(index));
        return ObjectRef(records_[static_cast<std::size_t>(index)]);
    }

    PageMembers members_;
    PageRecords records_;
};

class Page final : public platform::Object {
public:
    Page(const PageMembers& members, PageRecords records, Long callId, bool last)
        : members_(members),
          wrapper_(std::make_shared<Wrapper>(members, std::move(records))),
          callId_(callId),
          last_(last) {}

    Value Invoke(std::string_view member, std::span<Argument> arguments) override {
        ExpectArguments(arguments, 0);
        if (member == members_.wrapper) return wrapper_;
        if (member == "getSetComplete") return std::string(last_ ? "Y" : "N");
        if (member == "getCallId") return callId_;
        RaiseNoSuchMember("The page", member);
    }

private:
    PageMembers members_;
    ObjectRef wrapper_;
    Long callId_;
    bool last_;
};

}  // namespace

ObjectRef Listings::NextPage(const std::function<Elements()>& begin, const Argument& pageSize,
                             Argument& callId, Argument& setComplete) {
    const Long size = platform::ToLong(pageSize.value);
    if (size < 1) Raise(platform::kInvalidProcedureCall, "The page size is " + std::to_string(size));
    Long id = platform::ToLong(callId.value);
    if (id == 0) {
        id = ++lastCallId_;
        open_.emplace(id, begin());
    }
    // Taken out while it is read: one that fails is not to be gone on with.
    auto listing = open_.extract(id);
    if (!listing)
        Raise(platform::kInvalidProcedureCall, "No listing is open under call id " + std::to_string(id));

    PageRecords records;
    Elements& elements = listing.mapped();
    while (records.size() < static_cast<std::size_t>(size) && elements.HasMore())
        records.push_back(elements.Next());
    const bool last = !elements.HasMore();
    if (!last) open_.insert(std::move(listing));
    callId.value = id;
    setComplete.value = std::string(last ? "Y" : "N");
    return std::make_shared<Page>(members_, std::move(records), id, last);
}

}  // namespace iqrx::erp::extract
