// The read locks and the write exclusion with real threads: readers share, a writer waits for every
// reader, a waiting writer does not hold readers back, a writer keeps readers out, and a bound buffer
// segment holds one read lock until it lets its buffer go. The tests assert the order of the threads'
// steps; waits for a step that must come are bounded only so that a fault fails instead of hanging, and
// the short grace given a held-off thread to wrongly go ahead is never a condition of passing.
#include "buffer_fixture.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <thread>

namespace scrivix::test {
namespace {

constexpr std::chrono::seconds kPatience{10};
constexpr std::chrono::milliseconds kGrace{50};

// The steps the threads of a test took, in order.
class StepLog {
public:
    void Add(const std::string& step) {
        std::lock_guard guard(mutex_);
        steps_.push_back(step);
        changed_.notify_all();
    }
    bool WaitFor(const std::string& step, std::chrono::milliseconds limit = kPatience) {
        std::unique_lock guard(mutex_);
        return changed_.wait_for(guard, limit, [&] { return Index(step) < steps_.size(); });
    }
    // Whether `first` was taken before `second`, and both were taken.
    bool Before(const std::string& first, const std::string& second) {
        std::lock_guard guard(mutex_);
        return Index(first) < Index(second) && Index(second) < steps_.size();
    }

private:
    size_t Index(const std::string& step) const {
        return std::find(steps_.begin(), steps_.end(), step) - steps_.begin();
    }
    std::mutex mutex_;
    std::condition_variable changed_;
    std::vector<std::string> steps_;
};

template <class W>
class EditBufferLocksTest : public ::testing::Test {
protected:
    EditBufferLocksTest() { Connect(buffer_.Get(), &sink_); }

    // A reader: takes a read lock, logs "<name> in", holds it until "release <name>" is logged, then logs
    // "<name> leaving" and lets go.
    std::jthread Reader(const std::string& name) {
        return std::jthread([this, name] {
            EXPECT_EQ(buffer_->LockForRead(), S_OK);
            log_.Add(name + " in");
            EXPECT_TRUE(log_.WaitFor("release " + name));
            log_.Add(name + " leaving");
            EXPECT_EQ(buffer_->UnlockFromRead(), S_OK);
        });
    }
    // A writer; the sink logs "modified" while the write exclusion is held.
    std::jthread Writer() {
        return std::jthread([this] {
            log_.Add("writer starts");
            EXPECT_EQ(buffer_->Replace(0, 1, Bstr(u"w").Get()), S_OK);
            log_.Add("writer done");
        });
    }

    // Whether a Replace on `buffer` is held off until `let_go` runs; it must get in after that (a lock
    // wrongly left behind is released so that the test ends).
    static bool HeldOffUntil(IEditBuffer* buffer, const std::function<void()>& let_go) {
        StepLog log;
        std::jthread writer([&] {
            EXPECT_EQ(buffer->Replace(0, 0, Bstr(u"w").Get()), S_OK);
            log.Add("done");
        });
        const bool held_off = !log.WaitFor("done", kGrace);
        let_go();
        if (!log.WaitFor("done")) {
            ADD_FAILURE() << "a read lock was left behind";
            buffer->UnlockFromRead();
        }
        return held_off;
    }

    StepLog log_;
    std::function<void()> inside_modified_;  // run by the sink inside Modified when set
    RecordingSink sink_{[this] {
        log_.Add("modified");
        if (inside_modified_) inside_modified_();
    }};
    ComPtr<IEditBuffer> buffer_ = NewBuffer<W>(u"text");
};
TYPED_TEST_SUITE(EditBufferLocksTest, BufferWidths);

// Readers share and are preferred: while the gate is open they keep entering, and the writer waits for
// every one. A stray unlock first does nothing: it cannot cancel a reader's lock.
TYPED_TEST(EditBufferLocksTest, AWriterWaitsForEveryReaderAndHoldsNoneBack) {
    auto& log = this->log_;
    EXPECT_EQ(this->buffer_->UnlockFromRead(), S_OK);
    auto first = this->Reader("first");
    ASSERT_TRUE(log.WaitFor("first in"));
    auto writer = this->Writer();
    ASSERT_TRUE(log.WaitFor("writer starts"));
    EXPECT_FALSE(log.WaitFor("modified", kGrace)) << "the writer got in";
    auto second = this->Reader("second");
    EXPECT_TRUE(log.WaitFor("second in")) << "the waiting writer held a reader back";
    log.Add("release first");
    ASSERT_TRUE(log.WaitFor("first leaving"));
    EXPECT_FALSE(log.WaitFor("modified", kGrace)) << "the writer got in beside a reader";
    log.Add("release second");
    EXPECT_TRUE(log.WaitFor("writer done"));
    EXPECT_TRUE(log.Before("second leaving", "modified"));
}

// A writer keeps readers out; a read lock belongs to no thread, so another may give it back.
TYPED_TEST(EditBufferLocksTest, AReaderWaitsWhileAWriterIsActive) {
    auto& log = this->log_;
    this->inside_modified_ = [&] {  // the writer stays inside Modified until let go
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

TYPED_TEST(EditBufferLocksTest, AReadLockBelongsToNoThread) {
    ASSERT_EQ(this->buffer_->LockForRead(), S_OK);
    EXPECT_TRUE(this->HeldOffUntil(this->buffer_.Get(), [&] {
        std::jthread([&] { EXPECT_EQ(this->buffer_->UnlockFromRead(), S_OK); }).join();
    }));
}

// A segment bound (even twice) holds one read lock on its buffer until it is unbound, bound to something
// that is no edit buffer, bound to another buffer (which it then holds), or released.
TYPED_TEST(EditBufferLocksTest, ABoundSegmentHoldsOneLockUntilItLetsGo) {
    RecordingSink not_a_buffer;
    auto other = NewBuffer<TypeParam>(u"y");
    IUnknown* unbinders[] = {nullptr, &not_a_buffer, other.Get()};
    for (IUnknown* unbinder : unbinders) {
        auto segment = NewSegment<TypeParam>();
        ASSERT_EQ(segment->put_Source(0, 0, this->buffer_.Get()), S_OK);
        ASSERT_EQ(segment->put_Source(0, 0, this->buffer_.Get()), S_OK);
        EXPECT_TRUE(this->HeldOffUntil(this->buffer_.Get(), [&] { segment->put_Source(0, 0, unbinder); }));
        if (unbinder == other.Get()) {
            EXPECT_TRUE(this->HeldOffUntil(other.Get(), [&] { segment = nullptr; }));
            continue;
        }
        ComPtr<IUnknown> source;
        EXPECT_EQ(segment->get_Source(0, 0, source.Put()), E_POINTER) << "unbound";
        void* begin = &begin;
        EXPECT_EQ(segment->Begin(&begin), S_OK);
        EXPECT_EQ(begin, nullptr);
    }
    auto segment = NewSegment<TypeParam>();
    ASSERT_EQ(segment->put_Source(0, 0, this->buffer_.Get()), S_OK);
    EXPECT_TRUE(this->HeldOffUntil(this->buffer_.Get(), [&] { segment = nullptr; }));
    EXPECT_EQ(not_a_buffer.References(), 0u);
}

}  // namespace
}  // namespace scrivix::test
