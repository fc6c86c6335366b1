// A database and an ERP of which one call fails: the n-th, before its effect or after it. They stand around
// others, which must outlive them, and share one count.
//
//     Faults faults;
//     FaultingDatabases databases(real, faults);
//     faults.Arm(17, Faults::When::AfterItsEffect);
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "erp/erp.h"
#include "platform/database.h"
#include "platform/error.h"

namespace iqrx::testing {

class Faults {
public:
    enum class When { BeforeItsEffect, AfterItsEffect };

    // The n-th call from now on fails, counted from 1; 0: none.
    void Arm(int call, When when);

    int Calls() const { return calls_; }                   // since it was armed
    const std::string& Struck() const { return struck_; }  // the call that failed; empty while none did
    static constexpr const char* kText = "a fault that was put there";

    template <class Call>
    auto Pass(std::string_view name, Call call) {
        const bool strikes = ++calls_ == failing_;
        if (strikes) struck_ = name;
        if (strikes && when_ == When::BeforeItsEffect) Raise();
        if constexpr (std::is_void_v<decltype(call())>) {
            call();
            if (strikes) Raise();
        } else {
            auto result = call();
            if (strikes) Raise();
            return result;
        }
    }

private:
    [[noreturn]] static void Raise();

    int calls_ = 0, failing_ = 0;
    When when_ = When::BeforeItsEffect;
    std::string struck_;
};

// Statistics and the closing of a connection are not counted: their failures are nobody's concern.
class FaultingDatabases : public platform::DatabaseProvider {
public:
    FaultingDatabases(platform::DatabaseProvider& databases, Faults& faults)
        : databases_(databases), faults_(faults) {}
    std::unique_ptr<platform::Connection> CreateConnection(std::string_view connectionString) override;

private:
    platform::DatabaseProvider& databases_;
    Faults& faults_;
};

class FaultingErps : public erp::ErpProvider {
public:
    FaultingErps(erp::ErpProvider& erps, Faults& faults) : erps_(erps), faults_(faults) {}
    std::unique_ptr<erp::Erp> Open(const std::string& runParameter, const erp::Notice& notice) override;

private:
    erp::ErpProvider& erps_;
    Faults& faults_;
};

}  // namespace iqrx::testing
