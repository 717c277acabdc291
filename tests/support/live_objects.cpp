// Fails a test program that leaves any object of the module alive: after the last test the module must
// be ready to unload.
#include "support/test_support.h"

#include "frame/object.h"

#include <gtest/gtest.h>

namespace scrivix::test {

long LiveObjects() { return ModuleObjectCount(); }

namespace {

class NoLiveObjects : public ::testing::Environment {
public:
    void TearDown() override {
        EXPECT_EQ(LiveObjects(), 0) << "objects of the module are still alive at the end of the suite";
        EXPECT_EQ(DllCanUnloadNow(), S_OK);
    }
};

const auto* const registered = ::testing::AddGlobalTestEnvironment(new NoLiveObjects);

}  // namespace
}  // namespace scrivix::test
