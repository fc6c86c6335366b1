// Listings that are handed out in pages. A listing stays open under its call id until its last page,
// or until one of its pages fails.
#pragma once

#include <functional>
#include <map>

#include "erp/extract/records.h"

namespace iqrx::erp::extract {

// How a service names the members of its pages.
struct PageMembers {
    std::string_view wrapper;  // of the page: the wrapper around its records
    std::string_view size;     // of the wrapper: how many there are
    std::string_view at;       // of the wrapper: the record at an index from 0
};

class Listings {
public:
    explicit Listings(const PageMembers& members) : members_(members) {}

    // The next page of the listing `callId`; 0 begins the one that `begin` opens. Leaves the call id and "Y"
    // or "N" in the arguments. Besides its wrapper the page has getSetComplete and getCallId. Raises
    // RuntimeError for a page size below 1 and for a call id that is not open.
    ObjectRef NextPage(const std::function<Elements()>& begin, const Argument& pageSize, Argument& callId,
                       Argument& setComplete);

    void Close() { open_.clear(); }

private:
    PageMembers members_;
    std::map<Long, Elements> open_;
    Long lastCallId_ = 0;
};

}  // namespace iqrx::erp::extract
