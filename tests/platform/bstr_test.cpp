// Automation strings and the task allocator: the block behind a BSTR byte by byte, lengths, null
// handling and lengths the prefix cannot hold.
#include <scrivix/scrivix.h>

#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <vector>

namespace {

using Bytes = std::vector<uint8_t>;

// The bytes of a string's block from the length prefix through the terminating unit; frees the string.
Bytes Block(BSTR text) {
    if (text == nullptr) return {};
    EXPECT_EQ(SysStringLen(text), SysStringByteLen(text) / 2);
    const auto* block = reinterpret_cast<const uint8_t*>(text) - 4;
    Bytes bytes(block, block + 6 + SysStringByteLen(text));
    SysFreeString(text);
    return bytes;
}

TEST(Bstr, BlockIsByteLengthThenUnitsThenZero) {
    EXPECT_EQ(Block(SysAllocString(u"ab\u20AC")), (Bytes{6, 0, 0, 0, 'a', 0, 'b', 0, 0xAC, 0x20, 0, 0}));
    EXPECT_EQ(Block(SysAllocStringLen(u"a\0b", 3)), (Bytes{6, 0, 0, 0, 'a', 0, 0, 0, 'b', 0, 0, 0}));
    // Empty strings are real strings.
    for (BSTR empty : {SysAllocString(u""), SysAllocStringLen(u"xyz", 0), SysAllocStringByteLen(nullptr, 0)})
        EXPECT_EQ(Block(empty), (Bytes{0, 0, 0, 0, 0, 0}));
}

TEST(Bstr, WithoutSourceTheContentsAreLeftButTerminated) {
    BSTR text = SysAllocStringLen(nullptr, 5);
    ASSERT_NE(text, nullptr);
    EXPECT_EQ(SysStringLen(text), 5u);
    EXPECT_EQ(text[5], u'\0');
    SysFreeString(text);
}

TEST(Bstr, OddByteLengthsEndWithAZeroByteAndAZeroUnit) {
    for (const char* source : {"abcdefg", static_cast<const char*>(nullptr)}) {
        for (UINT length : {1u, 3u, 5u, 7u}) {
            BSTR text = SysAllocStringByteLen(source, length);
            ASSERT_NE(text, nullptr);
            EXPECT_EQ(SysStringByteLen(text), length);
            EXPECT_EQ(SysStringLen(text), length / 2);
            const auto* bytes = reinterpret_cast<const char*>(text);
            EXPECT_TRUE(source == nullptr || std::memcmp(bytes, source, length) == 0);
            EXPECT_EQ(bytes[length], '\0');
            EXPECT_EQ(text[(length + 1) / 2], u'\0');
            SysFreeString(text);
        }
    }
}

TEST(Bstr, NullIsTheEmptyStringAndOverlongLengthsGiveNull) {
    EXPECT_EQ(SysAllocString(nullptr), nullptr);
    EXPECT_EQ(SysStringLen(nullptr), 0u);
    EXPECT_EQ(SysStringByteLen(nullptr), 0u);
    SysFreeString(nullptr);
    EXPECT_EQ(SysAllocStringLen(nullptr, 0x80000000u), nullptr);
    EXPECT_EQ(SysAllocStringLen(u"x", 0x80000000u), nullptr);
    EXPECT_EQ(SysAllocStringLen(nullptr, UINT_MAX), nullptr);
}

TEST(TaskAllocator, AllocatesGrowsAndFrees) {
    void* empty = CoTaskMemAlloc(0);  // zero bytes still give a block
    EXPECT_NE(empty, nullptr);
    CoTaskMemFree(empty);
    CoTaskMemFree(nullptr);
    auto* block = static_cast<char*>(CoTaskMemRealloc(nullptr, 4));
    ASSERT_NE(block, nullptr);
    std::memcpy(block, "abcd", 4);
    block = static_cast<char*>(CoTaskMemRealloc(block, 4096));
    ASSERT_NE(block, nullptr);
    EXPECT_EQ(std::memcmp(block, "abcd", 4), 0);
    EXPECT_EQ(CoTaskMemRealloc(block, 0), nullptr);
}

}  // namespace
