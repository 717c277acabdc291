// Automation strings and the task allocator: the block behind a BSTR byte by byte, lengths, null
// handling and lengths the prefix cannot hold.
#include <scrivix/scrivix.h>

#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <vector>

namespace {

// The bytes of a string's block from the length prefix through `after` bytes past the contents.
std::vector<uint8_t> BlockBytes(BSTR text, size_t after) {
    const auto* block = reinterpret_cast<const uint8_t*>(text) - 4;
    return {block, block + 4 + SysStringByteLen(text) + after};
}

// Layout.

TEST(Bstr, BlockIsByteLengthThenUnitsThenZero) {
    BSTR text = SysAllocString(u"ab\u20AC");
    ASSERT_NE(text, nullptr);
    EXPECT_EQ(BlockBytes(text, 2), (std::vector<uint8_t>{6, 0, 0, 0, 'a', 0, 'b', 0, 0xAC, 0x20, 0, 0}));
    EXPECT_EQ(SysStringLen(text), 3u);
    EXPECT_EQ(SysStringByteLen(text), 6u);
    SysFreeString(text);
}

TEST(Bstr, CountedStringsKeepEmbeddedZeros) {
    BSTR text = SysAllocStringLen(u"a\0b", 3);
    ASSERT_NE(text, nullptr);
    EXPECT_EQ(BlockBytes(text, 2), (std::vector<uint8_t>{6, 0, 0, 0, 'a', 0, 0, 0, 'b', 0, 0, 0}));
    SysFreeString(text);
}

TEST(Bstr, EmptyStringsAreRealStrings) {
    for (BSTR text : {SysAllocString(u""), SysAllocStringLen(u"xyz", 0), SysAllocStringByteLen(nullptr, 0)}) {
        ASSERT_NE(text, nullptr);
        EXPECT_EQ(BlockBytes(text, 2), (std::vector<uint8_t>{0, 0, 0, 0, 0, 0}));
        SysFreeString(text);
    }
}

TEST(Bstr, WithoutSourceTheContentsAreLeftButTerminated) {
    BSTR text = SysAllocStringLen(nullptr, 5);
    ASSERT_NE(text, nullptr);
    EXPECT_EQ(SysStringLen(text), 5u);
    EXPECT_EQ(text[5], u'\0');
    SysFreeString(text);
}

// Byte lengths.

TEST(Bstr, OddByteLengthsEndWithAZeroByteAndAZeroUnit) {
    const char source[] = "abcdefg";
    for (UINT length : {1u, 3u, 5u, 7u}) {
        BSTR text = SysAllocStringByteLen(source, length);
        ASSERT_NE(text, nullptr);
        EXPECT_EQ(SysStringByteLen(text), length);
        EXPECT_EQ(SysStringLen(text), length / 2);
        const auto* bytes = reinterpret_cast<const char*>(text);
        EXPECT_EQ(std::memcmp(bytes, source, length), 0);
        EXPECT_EQ(bytes[length], '\0');
        EXPECT_EQ(text[(length + 1) / 2], u'\0');
        SysFreeString(text);
    }
}

TEST(Bstr, ByteLengthWithoutSourceIsTerminated) {
    BSTR text = SysAllocStringByteLen(nullptr, 7);
    ASSERT_NE(text, nullptr);
    EXPECT_EQ(SysStringByteLen(text), 7u);
    EXPECT_EQ(reinterpret_cast<const char*>(text)[7], '\0');
    EXPECT_EQ(text[4], u'\0');
    SysFreeString(text);
}

// Null and limits.

TEST(Bstr, NullIsTheEmptyString) {
    EXPECT_EQ(SysAllocString(nullptr), nullptr);
    EXPECT_EQ(SysStringLen(nullptr), 0u);
    EXPECT_EQ(SysStringByteLen(nullptr), 0u);
    SysFreeString(nullptr);
}

TEST(Bstr, LengthsBeyondThePrefixGiveNull) {
    EXPECT_EQ(SysAllocStringLen(nullptr, 0x80000000u), nullptr);
    EXPECT_EQ(SysAllocStringLen(u"x", 0x80000000u), nullptr);
    EXPECT_EQ(SysAllocStringLen(nullptr, UINT_MAX), nullptr);
}

// The task allocator.

TEST(TaskAllocator, ZeroBytesStillGiveABlock) {
    void* block = CoTaskMemAlloc(0);
    EXPECT_NE(block, nullptr);
    CoTaskMemFree(block);
    CoTaskMemFree(nullptr);
}

TEST(TaskAllocator, ReallocAllocatesGrowsAndFrees) {
    auto* block = static_cast<char*>(CoTaskMemRealloc(nullptr, 4));
    ASSERT_NE(block, nullptr);
    std::memcpy(block, "abcd", 4);
    block = static_cast<char*>(CoTaskMemRealloc(block, 4096));
    ASSERT_NE(block, nullptr);
    EXPECT_EQ(std::memcmp(block, "abcd", 4), 0);
    EXPECT_EQ(CoTaskMemRealloc(block, 0), nullptr);
}

}  // namespace
