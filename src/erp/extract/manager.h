// The data-access object of one table, and the classes that read its audit trail.
#pragma once

#include <filesystem>
#include <optional>

#include "erp/extract/key_blocks.h"
#include "erp/extract/key_range.h"
#include "erp/extract/paging.h"

namespace iqrx::erp::extract {

class Manager final : public platform::Object {
public:
    Manager(std::filesystem::path directory, const TableLayout& layout, Notice notice);

    // SetRunParameter, CloseManager, GetByKeyRange, GetByStatusRange, ListObjects.
    Value Invoke(std::string_view member, std::span<Argument> arguments) override;

    const TableLayout& Layout() const { return layout_; }
    std::filesystem::path AuditFile() const;

private:
    std::shared_ptr<Rows> AllRows();
    Value GetByKeyRange(std::span<const Argument> arguments);
    Value GetByStatusRange(std::span<const Argument> arguments);
    Value ListObjects(std::span<Argument> arguments);
    KeyRanges RangesOfKeys(std::span<const Argument> bounds) const;
    Value Select(KeyRanges keys, std::optional<KeyRange> status = {});
    Value SelectByKey(const std::string& key, KeyRanges ranges);
    Value EnumeratorOver(RecordStream records) const;
    Elements ElementsAfter(std::span<const Argument> key);

    std::filesystem::path directory_;
    TableLayout layout_;
    Notice notice_;  // until the first listing
    Listings listings_;
    std::shared_ptr<SourceFile> file_;    // from the first request on
    std::optional<KeyBlocks> keyBlocks_;  // from the first fetch of one record on
    std::shared_ptr<Rows> keyRows_;       // likewise: the file's header is read once
};

// The audit class of that ProgID, or Nothing: what to read, the reader over a table's audit trail, and the
// kind of a change.
ObjectRef CreateAuditObject(std::string_view progId);

}  // namespace iqrx::erp::extract
