#include <gtest/gtest.h>

#include "context/AxContext.h"
#include "engine/TevController.h"
#include "tests/context/ContextTestSupport.h"
#include "tests/engine/EngineTestSupport.h"

namespace orvan::test {
namespace {

// The real delivery into the engine parameter store, counted.
class CountingEffect : public TevEffect {
public:
    CountingEffect() : TevEffect(0, "test") {}
    void sendSharedStore(const void* data, uint32_t length) override {
        ++sends;
        TevEffect::sendSharedStore(data, length);
    }
    int sends = 0;
};

class TevControllerTest : public StartUpTest {
protected:
    void SetUp() override {
        installFactoryFiles();
        mContext = startContext();
        ASSERT_NE(nullptr, mContext);
        mContext->registerObserver(&mController);
        ASSERT_EQ(1, mEffect.sends);
    }
    ~TevControllerTest() override {
        if (mContext != nullptr) {
            mContext->unregisterObserver(&mController);
        }
    }

    CountingEffect mEffect;
    TevController mController{DEVICE_SPEAKER, mEffect};
    AxContext* mContext = nullptr;
};

// A new tuning changes its device only. It may change only the endpoint or
// the mono flag, on which the output mode depends besides its values; the
// port's profile settings follow the new endpoint.
TEST_F(TevControllerTest, ATuningChangeReachesTheEngineCompletely) {
    struct Step { Port port; const char* device; AndroidDevice output; Values dom; Values dea; };
    const Step steps[] = {
        {PORT_INTERNAL_SPEAKER, "mono_speaker", DEVICE_SPEAKER, {0, 0, 1, 8192, 8192, 8192, 8192}, {5}},
        {PORT_INTERNAL_SPEAKER, "default_internal_speaker", DEVICE_SPEAKER, {1, 0, 0, 16384, 0, 0, 16384},
         {5}},
        {PORT_BLUETOOTH, "oem_car_kit_bluetooth", DEVICE_BLUETOOTH_A2DP, {0, 2, 0}, {5}},
        {PORT_BLUETOOTH, "default_bluetooth", DEVICE_BLUETOOTH_A2DP, {0, 1, 0}, {4}},
    };
    for (const Step& s : steps) {
        SCOPED_TRACE(s.device);
        const StoreSnapshot before = snapshotStore();
        ASSERT_TRUE(mContext->setSelectedTuning(s.port, s.device, false));
        for (const CommandEntry& e : changedSince(before)) {
            EXPECT_EQ(s.output, e.device) << e;
        }
        EXPECT_EQ(s.dom, storedValues(s.output, DOM));
        EXPECT_EQ(s.dea, storedValues(s.output, DEA));
    }
}

}  // namespace
}  // namespace orvan::test
