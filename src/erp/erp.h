// The ERP as the copy sees it: classes reached late-bound, created per table or by ProgID.
#pragma once

#include <functional>
#include <memory>
#include <span>
#include <string>
#include <string_view>

#include "platform/object.h"

namespace iqrx::erp {

// What a getter returns: text, a whole number, a real number or a date; every kind but text may be Null.
enum class FieldKind { Text, Whole, Real, Date };

struct FieldLayout {
    std::string_view getter;  // the record's member
    std::string_view field;   // the ERP's field name
    FieldKind kind = FieldKind::Text;
    bool key = false;
    bool status = false;  // the field that GetByStatusRange selects by; at most one of a table
};

// The fields of a table's records, its key fields first and in key order. Views into data that lives
// forever.
struct TableLayout {
    std::string_view table;
    std::span<const FieldLayout> fields;
};

// A record that has its values at hand: a copy asks for them by place instead of by member name.
class Record : public platform::Object {
public:
    // One value a field, in the layout's order, valid until the record's next call; none when the record was
    // made with another layout.
    virtual std::span<const platform::Value> Values(const TableLayout& layout) const = 0;
};

// A manager has the members
//   SetRunParameter(text), CloseManager(),
//   GetByKeyRange(from, to, ...)  a (from, to) pair per key field; an enumerator or Nothing,
//   GetByStatusRange(keyFrom, keyTo, statusFrom, statusTo)  likewise, for the tables that have a status,
//   ListObjects(configuration, object, objectNumber, pageSize, callId, setComplete)  service objects only: a
//   page.
// An enumerator has hasMoreElements() and nextElement(); a record has the getters of its layout.
class Erp {
public:
    virtual ~Erp() = default;
    virtual platform::ObjectRef CreateManager(const TableLayout& layout) = 0;
    virtual platform::ObjectRef CreateRecord(const TableLayout& layout) = 0;  // empty
    // The audit classes and the calendar service. Raises RuntimeError 429 for a class that the ERP does not
    // have.
    virtual platform::ObjectRef CreateObject(std::string_view progId) = 0;
};

// Is told, in one line, what does not stop a copy but should be known.
using Notice = std::function<void(const std::string& text)>;

// Finds the ERP that a request's run parameter names.
class ErpProvider {
public:
    virtual ~ErpProvider() = default;
    // `notice` must live as long as the ERP. Raises RuntimeError when the text names no ERP that this machine
    // can reach.
    virtual std::unique_ptr<Erp> Open(const std::string& runParameter, const Notice& notice) = 0;
};

}  // namespace iqrx::erp
