// The read locks and the write exclusion with real threads: readers share, a writer waits for every
// reader and keeps new readers at the gate, a waiting writer does not hold readers back, and a bound
// buffer segment is a reader. Each test asserts the order in which the threads took their steps.
#include "buffer_fixture.h"
#include "recording_sink.h"
#include "step_log.h"
#include "support/test_support.h"

#include <thread>

namespace scrivix::test {
namespace {

template <class W>
class EditBufferLocksTest : public ::testing::Test {
protected:
    EditBufferLocksTest() { Connect(buffer_.Get(), &sink_); }
    ~EditBufferLocksTest() override { buffer_ = nullptr; }

    // A reader on its own thread: takes a read lock, logs "<name> in", holds the lock until "release
    // <name>" is logged, then logs "<name> leaving" and lets go.
    std::jthread Reader(const std::string& name) {
        return std::jthread([this, name] {
            EXPECT_EQ(buffer_->LockForRead(), S_OK);
            log_.Add(name + " in");
            EXPECT_TRUE(log_.WaitFor("release " + name));
            log_.Add(name + " leaving");
            EXPECT_EQ(buffer_->UnlockFromRead(), S_OK);
        });
    }

    // A writer on its own thread: logs "writer starts", then replaces; the sink logs "modified" while the
    // write exclusion is held.
    std::jthread Writer() {
        return std::jthread([this] {
            log_.Add("writer starts");
            EXPECT_EQ(buffer_->Replace(0, 1, Bstr(u"w").Get()), S_OK);
            log_.Add("writer done");
        });
    }

    // Checks that the writer, once started, is held off: it has not changed the text within the grace.
    void ExpectWriterHeldOff() {
        ASSERT_TRUE(log_.WaitFor("writer starts"));
        EXPECT_FALSE(log_.WaitFor("modified", kGrace)) << "the writer got in";
    }

    // Binds a segment to the buffer, starts a writer, and lets the segment go by `let_go`: the writer
    // changes the text only after that.
    void ExpectSegmentHoldsWritersOff(void (*let_go)(ComPtr<IBufferSegment>&)) {
        std::jthread writer;  // joined after the segment has let go, whatever fails
        auto segment = NewSegment<W>();
        ASSERT_EQ(segment->put_Source(0, 0, buffer_.Get()), S_OK);
        writer = Writer();
        ExpectWriterHeldOff();
        log_.Add("letting go");
        let_go(segment);
        EXPECT_TRUE(log_.WaitFor("writer done"));
        EXPECT_TRUE(log_.Before("letting go", "modified"));
    }

    StepLog log_;
    // Runs the sink's hook, if the test sets one, inside Modified.
    std::function<void()> inside_modified_;
    RecordingSink sink_{[this](const Modification&) {
        log_.Add("modified");
        if (inside_modified_) inside_modified_();
    }};
    ComPtr<IEditBuffer> buffer_ = NewBuffer<W>(u"text");
};
TYPED_TEST_SUITE(EditBufferLocksTest, Widths, WidthNames);

TYPED_TEST(EditBufferLocksTest, ReadersDoNotExcludeEachOther) {
    auto& log = this->log_;
    auto first = this->Reader("first");
    auto second = this->Reader("second");
    // Both are in at once before either lets go.
    EXPECT_TRUE(log.WaitFor("first in"));
    EXPECT_TRUE(log.WaitFor("second in"));
    log.Add("release first");
    log.Add("release second");
}

TYPED_TEST(EditBufferLocksTest, AWriterWaitsForEveryReader) {
    auto& log = this->log_;
    auto first = this->Reader("first");
    auto second = this->Reader("second");
    ASSERT_TRUE(log.WaitFor("first in"));
    ASSERT_TRUE(log.WaitFor("second in"));
    auto writer = this->Writer();
    this->ExpectWriterHeldOff();
    log.Add("release first");
    ASSERT_TRUE(log.WaitFor("first leaving"));
    EXPECT_FALSE(log.WaitFor("modified", kGrace)) << "the writer got in beside a reader";
    log.Add("release second");
    EXPECT_TRUE(log.WaitFor("writer done"));
    EXPECT_TRUE(log.Before("second leaving", "modified"));
}

TYPED_TEST(EditBufferLocksTest, AReaderWaitsWhileAWriterIsActive) {
    auto& log = this->log_;
    // The writer stays active, inside Modified, until the test lets it go.
    this->inside_modified_ = [&] {
        EXPECT_TRUE(log.WaitFor("let the writer go"));
        log.Add("writer leaving");
    };
    auto writer = this->Writer();
    ASSERT_TRUE(log.WaitFor("modified"));
    auto reader = this->Reader("reader");
    EXPECT_FALSE(log.WaitFor("reader in", kGrace)) << "a reader got in beside the writer";
    log.Add("let the writer go");
    EXPECT_TRUE(log.WaitFor("reader in"));
    EXPECT_TRUE(log.Before("writer leaving", "reader in"));
    log.Add("release reader");
}

// Readers are preferred: while the gate is open they keep entering, and the writer waits for them all.
TYPED_TEST(EditBufferLocksTest, AReaderEntersWhileAWriterWaits) {
    auto& log = this->log_;
    auto first = this->Reader("first");
    ASSERT_TRUE(log.WaitFor("first in"));
    auto writer = this->Writer();
    this->ExpectWriterHeldOff();
    auto second = this->Reader("second");
    EXPECT_TRUE(log.WaitFor("second in")) << "the waiting writer held a reader back";
    log.Add("release first");
    ASSERT_TRUE(log.WaitFor("first leaving"));
    EXPECT_FALSE(log.WaitFor("modified", kGrace));
    log.Add("release second");
    EXPECT_TRUE(log.WaitFor("writer done"));
    EXPECT_TRUE(log.Before("second leaving", "modified"));
}

TYPED_TEST(EditBufferLocksTest, AReadLockBelongsToNoThread) {
    ASSERT_EQ(this->buffer_->LockForRead(), S_OK);
    std::jthread([&] { EXPECT_EQ(this->buffer_->UnlockFromRead(), S_OK); }).join();
    auto writer = this->Writer();
    EXPECT_TRUE(this->log_.WaitFor("writer done"));
}

// An unlock without a lock does nothing: it cannot cancel the next reader's lock.
TYPED_TEST(EditBufferLocksTest, AStrayUnlockDoesNothing) {
    auto& log = this->log_;
    EXPECT_EQ(this->buffer_->UnlockFromRead(), S_OK);
    auto reader = this->Reader("reader");
    ASSERT_TRUE(log.WaitFor("reader in"));
    auto writer = this->Writer();
    this->ExpectWriterHeldOff();
    log.Add("release reader");
    EXPECT_TRUE(log.WaitFor("writer done"));
    EXPECT_TRUE(log.Before("reader leaving", "modified"));
}

// A bound buffer segment holds its read lock until it is unbound or released.
TYPED_TEST(EditBufferLocksTest, ABoundSegmentHoldsWritersOffUntilUnbound) {
    this->ExpectSegmentHoldsWritersOff([](ComPtr<IBufferSegment>& segment) {
        EXPECT_EQ(segment->put_Source(0, 0, nullptr), S_OK);
    });
}

TYPED_TEST(EditBufferLocksTest, ABoundSegmentHoldsWritersOffUntilReleased) {
    this->ExpectSegmentHoldsWritersOff([](ComPtr<IBufferSegment>& segment) { segment = nullptr; });
}

}  // namespace
}  // namespace scrivix::test
