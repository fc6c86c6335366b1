#include "support/apartment.h"

#include <gtest/gtest.h>

#include "platform/windows/com_error.h"
#include "platform/windows/com_object.h"

namespace iqrx::platform::windows {
namespace {

struct Noted : Object {
    explicit Noted(bool& goneToNote) : gone(goneToNote) {}
    ~Noted() override { gone = true; }
    Value Invoke(std::string_view, std::span<Argument>) override { return {}; }
    bool& gone;
};

TEST(AKeptInterface, HoldsItsObjectUntilTheApartmentIsLeft) {
    bool gone = false;
    {
        const Apartment apartment;
        KeepInterface(IID_IDispatch, AdapterAround(std::make_shared<Noted>(gone)).Get());
        EXPECT_FALSE(gone);
    }
    EXPECT_TRUE(gone);
}

TEST(AKeptInterface, IsOneThatTheObjectHas) {
    const Apartment apartment;
    const auto object = AdapterAround(nullptr);
    EXPECT_THROW(KeepInterface(IID_IClassFactory, object.Get()), RuntimeError);
}

}  // namespace
}  // namespace iqrx::platform::windows
