// The buffer's one event, `_IEditBufferEvents.Modified`, as client sinks see it: connection and
// disconnection through the connection point, calls in connection order, sinks that fail, and the state
// of the buffer while a sink is called.
#include "buffer_fixture.h"
#include "recording_sink.h"
#include "support/test_support.h"

#include <stdexcept>

namespace scrivix::test {
namespace {

template <class W>
class EditBufferEventsTest : public ::testing::Test {};
TYPED_TEST_SUITE(EditBufferEventsTest, Widths, WidthNames);

TYPED_TEST(EditBufferEventsTest, EachSinkOnceInConnectionOrder) {
    std::vector<int> order;
    RecordingSink first([&](const Modification&) { order.push_back(1); });
    RecordingSink second([&](const Modification&) { order.push_back(2); });
    auto buffer = NewBuffer<TypeParam>(u"0123456789");
    Connect(buffer.Get(), &first);
    Connect(buffer.Get(), &second);
    ASSERT_EQ(buffer->Replace(2, 5, Bstr(u"ab").Get()), S_OK);
    EXPECT_EQ(order, (std::vector<int>{1, 2}));
    EXPECT_EQ(first.Calls(), (std::vector<Modification>{{2, 5, 2}}));
    EXPECT_EQ(second.Calls(), first.Calls());
}

TYPED_TEST(EditBufferEventsTest, ASinkThatThrowsDoesNotStopTheNext) {
    RecordingSink failing([](const Modification&) { throw std::runtime_error("sink failure"); });
    RecordingSink next;
    auto buffer = NewBuffer<TypeParam>();
    Connect(buffer.Get(), &failing);
    Connect(buffer.Get(), &next);
    EXPECT_EQ(buffer->Replace(0, 0, Bstr(u"abc").Get()), S_OK);
    EXPECT_EQ(next.Calls(), (std::vector<Modification>{{0, 0, 3}}));
}

TYPED_TEST(EditBufferEventsTest, DisconnectedSinksAreReleasedAndNotCalled) {
    RecordingSink kept, dropped;
    auto buffer = NewBuffer<TypeParam>();
    Connect(buffer.Get(), &kept);
    const DWORD cookie = Connect(buffer.Get(), &dropped);
    EXPECT_EQ(dropped.References(), 1u) << "the connection holds one reference";
    EXPECT_EQ(Disconnect(buffer.Get(), cookie), S_OK);
    EXPECT_EQ(dropped.References(), 0u);
    ASSERT_EQ(buffer->Text(Bstr(u"abc").Get()), S_OK);
    EXPECT_TRUE(dropped.Calls().empty());
    EXPECT_EQ(kept.Calls().size(), 1u);

    buffer = nullptr;
    EXPECT_EQ(kept.References(), 0u) << "a buffer releases its sinks when it goes";
}

TYPED_TEST(EditBufferEventsTest, RefusedConnections) {
    RecordingSink sink;
    auto buffer = NewBuffer<TypeParam>();
    auto point = EventPoint(buffer.Get());
    ASSERT_TRUE(point);
    const DWORD cookie = Connect(buffer.Get(), &sink);
    EXPECT_EQ(point->Unadvise(cookie), S_OK);
    for (DWORD bad : {DWORD{0}, cookie, cookie + 1, DWORD{0xFFFFFFFF}})
        EXPECT_EQ(point->Unadvise(bad), CONNECT_E_NOCONNECTION) << "cookie " << bad;

    // An object that does not answer the event interface cannot be connected.
    auto not_a_sink = NewSegment<TypeParam>();
    DWORD none = 1;
    EXPECT_EQ(point->Advise(not_a_sink.Get(), &none), CONNECT_E_CANNOTCONNECT);
    EXPECT_EQ(none, 0u);

    IID iid{};
    EXPECT_EQ(point->GetConnectionInterface(&iid), S_OK);
    EXPECT_EQ(iid, IID__IEditBufferEvents);
    auto container = buffer.template As<IConnectionPointContainer>();
    ComPtr<IConnectionPoint> other;
    EXPECT_EQ(container->FindConnectionPoint(IID_IEditBuffer, other.Put()), CONNECT_E_NOCONNECTION);
}

// A sink is called after the text has changed, so it reads the new text.
TYPED_TEST(EditBufferEventsTest, ASinkSeesTheNewText) {
    ComPtr<IEditBuffer> buffer = NewBuffer<TypeParam>(u"0123");
    std::u16string seen;
    RecordingSink sink([&](const Modification&) {
        Bstr text;
        EXPECT_EQ(buffer->SubSection(0, LengthOf(buffer.Get()), text.Put()), S_OK);
        seen = text.View();
    });
    Connect(buffer.Get(), &sink);
    ASSERT_EQ(buffer->Replace(1, 2, Bstr(u"xyz").Get()), S_OK);
    EXPECT_EQ(seen, u"0xyz3");
    buffer = nullptr;
}

// A sink may disconnect itself while it is being called; the others are still called.
TYPED_TEST(EditBufferEventsTest, ASinkMayDisconnectItselfWhileCalled) {
    auto buffer = NewBuffer<TypeParam>();
    DWORD cookie = 0;
    RecordingSink leaving([&](const Modification&) { EXPECT_EQ(Disconnect(buffer.Get(), cookie), S_OK); });
    RecordingSink staying;
    cookie = Connect(buffer.Get(), &leaving);
    Connect(buffer.Get(), &staying);
    ASSERT_EQ(buffer->Replace(0, 0, Bstr(u"a").Get()), S_OK);
    ASSERT_EQ(buffer->Replace(0, 0, Bstr(u"b").Get()), S_OK);
    EXPECT_EQ(leaving.Calls().size(), 1u);
    EXPECT_EQ(staying.Calls().size(), 2u);
    buffer = nullptr;
}

}  // namespace
}  // namespace scrivix::test
