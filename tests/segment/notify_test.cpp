// The sink and source holder through a buffer's events: connection, change of source, disconnection at
// the owner's end, and no reference cycle.
#include "segment/notify.h"

#include "platform/bstr.h"
#include "support/test_support.h"

#include <gtest/gtest.h>

#include <vector>

namespace scrivix {
namespace {

struct Owner;

class Handler : public DNotifyHandlerBase<IEditBuffer, _IEditBufferEvents, Owner> {
public:
    HRESULT STDMETHODCALLTYPE Modified(LONG origin, LONG old_length, LONG new_length) override;
};

struct Owner {
    Owner() : buffer(this) {}
    std::vector<std::vector<LONG>> heard;
    DComEventsPtr<Handler, IEditBuffer> buffer;
};

HRESULT Handler::Modified(LONG origin, LONG old_length, LONG new_length) {
    if (owner_) owner_->heard.push_back({origin, old_length, new_length});
    return S_OK;
}

ComPtr<IEditBuffer> NewBuffer() {
    ComPtr<IEditBuffer> buffer;
    EXPECT_EQ(CoCreateInstance(CLSID_EditBufferA, nullptr, CLSCTX_ALL, IID_IEditBuffer, buffer.PutVoid()), S_OK);
    return buffer;
}

// The holder hears its source, follows a change of source, and disconnects and releases everything at its
// owner's end.
TEST(ComEventsPtr, FollowsItsSourceAndLetsGoAtItsOwnersEnd) {
    const long before = test::LiveObjects();
    auto first = NewBuffer();
    auto second = NewBuffer();
    {
        Owner owner;
        EXPECT_EQ(owner.buffer.SetSource(nullptr), E_INVALIDARG) << "no source: nothing to connect";
        ASSERT_EQ(owner.buffer.SetSource(first), S_OK);
        first->Text(Bstr(u"abc").Get());
        ASSERT_EQ(owner.buffer.SetSource(second), S_OK);
        EXPECT_EQ(test::LiveObjects(), before + 3) << "the buffers and the sink";
        first->Text(Bstr(u"not heard").Get());
        second->Replace(0, 0, Bstr(u"xy").Get());
        EXPECT_EQ(owner.heard, (std::vector<std::vector<LONG>>{{0, 0, 3}, {0, 0, 2}}));
    }
    EXPECT_EQ(test::LiveObjects(), before + 2) << "the sink went with its owner";
    second->Text(Bstr(u"nobody listens").Get());
    first = nullptr;
    second = nullptr;
    EXPECT_EQ(test::LiveObjects(), before);
}

}  // namespace
}  // namespace scrivix
