// An ERP that exists in the test alone: it records every call on its objects and answers what it was told.
//
//     RecordingErp erp;
//     erp.records = {{{"getServiceType", "A"s}, ...}};        what a manager enumerates
//     erp.trail = {{"U", {{"getServiceType", "A"s}, ...}}};   what the audit reader yields
#pragma once

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "erp/erp.h"

namespace iqrx::testing {

using Fields = std::map<std::string, platform::Value, std::less<>>;  // getter -> answer

struct Change {
    std::string letters;  // any of I, U and D
    Fields fields;
};

// An object whose members are a function; every call that it logs reads "NAME.MEMBER(ARGUMENTS)".
class FakeObject : public platform::Object {
public:
    using Members = std::function<platform::Value(std::string_view member, std::span<platform::Argument>)>;

    FakeObject(std::string name, std::vector<std::string>* log, Members members = {});
    ~FakeObject() override;
    platform::Value Invoke(std::string_view member, std::span<platform::Argument> arguments) override;
    void Set(std::string_view member, const platform::Value& value) override;

    std::string name;
    std::function<void(const std::string& name)> onRelease;

private:
    std::vector<std::string>* log_;  // null: nothing is logged
    Members members_;
};

// Texts in apostrophes, code-127 characters as "~", objects by their names, Nothing as "Nothing".
std::string Shown(const platform::Value& value);

class RecordingErp : public erp::Erp, public erp::ErpProvider {
public:
    // erp::Erp
    platform::ObjectRef CreateManager(const erp::TableLayout& layout) override;
    platform::ObjectRef CreateRecord(const erp::TableLayout& layout) override;
    platform::ObjectRef CreateObject(std::string_view progId) override;
    // erp::ErpProvider
    std::unique_ptr<erp::Erp> Open(const std::string& runParameter, const erp::Notice&) override;

    std::vector<std::string> calls;
    bool logGetters = false;  // getters of records and elements are logged, too

    std::vector<Fields> records;
    bool hasEnumerator = true;  // false: a fetch answers Nothing
    std::vector<Change> trail;
    bool answersNullAtTheEnd = false;  // hasMoreElements answers Null where there are none

    // Called before a manager's fetch answers; may change `records` and `hasEnumerator` for it, or raise.
    std::function<void(std::string_view member, std::span<platform::Argument> arguments)> onFetch;
    // The n-th element or record, counted from 1, that cannot be fetched.
    std::optional<std::size_t> failAt;
    // Members of a manager or a ProgID that the ERP itself does not know.
    FakeObject::Members onManagerMember;
    std::function<platform::ObjectRef(std::string_view progId)> onCreateObject;
    // Called when an enumerator, a record or an element of this ERP is let go.
    std::function<void(const std::string& name)> onRelease;
    // Another ERP than this one, where the test has one.
    std::function<std::unique_ptr<erp::Erp>(const std::string& runParameter)> onOpen;

    platform::ObjectRef MakeRecord(const Fields& fields, const std::string& name);

private:
    platform::ObjectRef MakeEnumerator();
    platform::ObjectRef MakeReader();
    platform::ObjectRef MakeStatus();
    platform::Value AnswerManager(std::string_view member, std::span<platform::Argument> arguments);
    platform::Value HasMore(bool has) const;
    void FailWhere(std::size_t number) const;

    std::size_t readElements_ = 0;
};

}  // namespace iqrx::testing
