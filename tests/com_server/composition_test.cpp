#include "composition/composition.h"

#include <gtest/gtest.h>

#include "platform/error.h"
#include "platform/windows/com_error.h"

namespace iqrx::testing {
namespace {

// Is called when the thread leaves its apartment, where COM's tear-down may wait forever.
class TearDownSpy final : public IInitializeSpy {
public:
    virtual ~TearDownSpy() = default;
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override {
        *object = iid == IID_IUnknown || iid == IID_IInitializeSpy ? this : nullptr;
        return *object != nullptr ? S_OK : E_NOINTERFACE;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return 2; }
    ULONG STDMETHODCALLTYPE Release() override { return 1; }
    HRESULT STDMETHODCALLTYPE PreInitialize(DWORD, DWORD) override { return S_OK; }
    HRESULT STDMETHODCALLTYPE PostInitialize(HRESULT result, DWORD, DWORD entered) override {
        entries = entered;
        return result;
    }
    HRESULT STDMETHODCALLTYPE PreUninitialize(DWORD) override {
        ++leavings;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE PostUninitialize(DWORD) override { return S_OK; }

    DWORD entries = 0;
    int leavings = 0;
};

TEST(Composition, EndsWithoutWaitingForComsTearDown) {
    TearDownSpy spy;
    ULARGE_INTEGER cookie;
    platform::windows::Check(CoRegisterInitializeSpy(&spy, &cookie), "CoRegisterInitializeSpy");
    { const hosting::Composition parts({}); }
    EXPECT_GE(spy.entries, 1U) << "its parts call COM";
    EXPECT_EQ(spy.leavings, 0);
    CoRevokeInitializeSpy(cookie);
}

}  // namespace
}  // namespace iqrx::testing
