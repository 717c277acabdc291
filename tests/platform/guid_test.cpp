// GUIDs in registry form: formatting, parsing, round trips, malformed texts, and the well-known values
// of the platform's interface ids.
#include "platform/guid.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using scrivix::platform::GuidFromString;
using scrivix::platform::GuidToString;

constexpr GUID kMixed = {0x0123ABCD, 0xEF01, 0x2345, {0x67, 0x89, 0xAB, 0xCD, 0xEF, 0x01, 0x23, 0x45}};

std::string Narrow(std::u16string_view text) { return {text.begin(), text.end()}; }

// Formatting and parsing.

TEST(Guid, FormatsInRegistryFormUpperCaseWithRoomForTheTerminator) {
    OLECHAR text[40];
    text[0] = u'#';
    EXPECT_EQ(StringFromGUID2(kMixed, text, 38), 0);
    EXPECT_EQ(text[0], u'#');
    EXPECT_EQ(StringFromGUID2(kMixed, nullptr, 39), 0);
    EXPECT_EQ(StringFromGUID2(kMixed, text, 39), 39);
    EXPECT_EQ(std::u16string(text), u"{0123ABCD-EF01-2345-6789-ABCDEF012345}");
    EXPECT_EQ(GuidToString(kMixed), text);
}

TEST(Guid, RoundTripsAndHexDigitsMayBeLowerCase) {
    const GUID all_ones = {0xFFFFFFFF, 0xFFFF, 0xFFFF, {0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF}};
    for (const GUID& guid : {GUID_NULL, all_ones, kMixed, IID_IDispatch, IID_IErrorInfo, IID_IViewObjectEx}) {
        OLECHAR text[39];
        ASSERT_EQ(StringFromGUID2(guid, text, 39), 39);
        CLSID parsed;
        EXPECT_EQ(CLSIDFromString(text, &parsed), S_OK) << Narrow(text);
        EXPECT_TRUE(IsEqualGUID(parsed, guid)) << Narrow(text);
        EXPECT_EQ(GuidFromString(GuidToString(guid)), guid);
    }
    CLSID parsed;
    EXPECT_EQ(CLSIDFromString(u"{0123abcd-ef01-2345-6789-abcDEF012345}", &parsed), S_OK);
    EXPECT_EQ(parsed, kMixed);
}

TEST(Guid, MalformedTextsAreRefused) {
    const char16_t* const malformed[] = {
        u"",
        u"{",
        u"0123ABCD-EF01-2345-6789-ABCDEF012345",      // no braces
        u"{0123ABCD-EF01-2345-6789-ABCDEF012345",     // no closing brace
        u"{0123ABCD-EF01-2345-6789-ABCDEF012345}x",   // text after the form
        u" {0123ABCD-EF01-2345-6789-ABCDEF012345}",   // leading space
        u"{0123ABCD-EF01-2345-6789-ABCDEF01234}",     // a digit short
        u"{0123ABCD-EF01-2345-6789-ABCDEF0123456}",   // a digit too many
        u"{0123ABC-DEF01-2345-6789-ABCDEF012345}",    // dash out of place
        u"{0123ABCD_EF01-2345-6789-ABCDEF012345}",    // wrong separator
        u"{0123ABCD-EF01-2345-6789ABCDEF012345-}",    // last group unsplit
        u"{0123ABCG-EF01-2345-6789-ABCDEF012345}",    // not a hex digit
        u"{0123ABCD-EF01-2345-6789-ABCDEF01234\uFF15}",  // a full-width digit
        u"(0123ABCD-EF01-2345-6789-ABCDEF012345)",
        u"{+123ABCD-EF01-2345-6789-ABCDEF012345}",
        u"Scrivix.TextSegment",                     // a ProgID is not looked up here
    };
    for (const char16_t* text : malformed) {
        CLSID parsed = kMixed;
        EXPECT_EQ(CLSIDFromString(text, &parsed), CO_E_CLASSSTRING) << Narrow(text);
        EXPECT_EQ(parsed, GUID_NULL) << Narrow(text);
        EXPECT_FALSE(GuidFromString(text)) << Narrow(text);
    }
}

TEST(Guid, NullArgumentsCountedTextAndEquality) {
    CLSID parsed;
    EXPECT_EQ(CLSIDFromString(nullptr, &parsed), CO_E_CLASSSTRING);
    EXPECT_EQ(CLSIDFromString(u"{0123ABCD-EF01-2345-6789-ABCDEF012345}", nullptr), E_INVALIDARG);
    // The internal parser takes counted text.
    const std::u16string text = u"{0123ABCD-EF01-2345-6789-ABCDEF012345}tail";
    EXPECT_EQ(GuidFromString(std::u16string_view(text).substr(0, 38)), kMixed);
    EXPECT_FALSE(GuidFromString(text));
    GUID other = kMixed;
    EXPECT_EQ(IsEqualGUID(other, kMixed), TRUE);
    other.Data4[7] ^= 1;
    EXPECT_EQ(IsEqualGUID(other, kMixed), FALSE);
}

// The platform's interface ids; those of the form {XXXXXXXX-0000-0000-C000-000000000046} by their first group.

TEST(Guid, PlatformIdsHaveTheirWellKnownValues) {
    const std::pair<const IID*, std::u16string> ids[] = {
        {&IID_IUnknown, u"00000000"}, {&IID_IClassFactory, u"00000001"}, {&IID_IStream, u"0000000C"},
        {&IID_IDispatch, u"00020400"}, {&IID_ITypeInfo, u"00020401"}, {&IID_ITypeLib, u"00020402"},
        {&IID_IPersist, u"0000010C"}, {&IID_IViewObject, u"0000010D"}, {&IID_IDataObject, u"0000010E"},
        {&IID_IAdviseSink, u"0000010F"}, {&IID_IOleObject, u"00000112"}, {&IID_IOleInPlaceObject, u"00000113"},
        {&IID_IOleWindow, u"00000114"}, {&IID_IOleInPlaceUIWindow, u"00000115"}, {&IID_IOleInPlaceFrame, u"00000116"},
        {&IID_IOleInPlaceActiveObject, u"00000117"}, {&IID_IOleClientSite, u"00000118"},
        {&IID_IOleInPlaceSite, u"00000119"}, {&IID_IViewObject2, u"00000127"},
        {&GUID_NULL, u"{00000000-0000-0000-0000-000000000000}"},
        {&IID_ISupportErrorInfo, u"{DF0B3D60-548F-101B-8E65-08002B2BD119}"},
        {&IID_IErrorInfo, u"{1CF2B120-547D-101B-8E65-08002B2BD119}"},
        {&IID_ICreateErrorInfo, u"{22F03340-547D-101B-8E65-08002B2BD119}"},
        {&IID_IProvideClassInfo, u"{B196B283-BAB4-101A-B69C-00AA00341D07}"},
        {&IID_IConnectionPointContainer, u"{B196B284-BAB4-101A-B69C-00AA00341D07}"},
        {&IID_IEnumConnectionPoints, u"{B196B285-BAB4-101A-B69C-00AA00341D07}"},
        {&IID_IConnectionPoint, u"{B196B286-BAB4-101A-B69C-00AA00341D07}"},
        {&IID_IEnumConnections, u"{B196B287-BAB4-101A-B69C-00AA00341D07}"},
        {&IID_IProvideClassInfo2, u"{A6BC3AC0-DBAA-11CE-9DE3-00AA004BB851}"},
        {&IID_ISequentialStream, u"{0C733A30-2A1C-11CE-ADE5-00AA0044773D}"},
        {&IID_IOleControl, u"{B196B288-BAB4-101A-B69C-00AA00341D07}"},
        {&IID_IOleControlSite, u"{B196B289-BAB4-101A-B69C-00AA00341D07}"},
        {&IID_IOleInPlaceObjectWindowless, u"{1C2056CC-5EF4-101B-8BC8-00AA003E3B29}"},
        {&IID_IAdviseSinkEx, u"{3AF24290-0C96-11CE-A0CF-00AA00600AB8}"},
        {&IID_IViewObjectEx, u"{3AF24292-0C96-11CE-A0CF-00AA00600AB8}"},
        {&IID_IPersistStreamInit, u"{7FD52380-4E07-101B-AE2D-08002B2EC713}"},
        {&IID_IQuickActivate, u"{CF51ED10-62FE-11CF-BF86-00A0C9034836}"},
    };
    for (const auto& [id, text] : ids)
        EXPECT_EQ(GuidToString(*id), text.size() == 8 ? u"{" + text + u"-0000-0000-C000-000000000046}" : text);
}

}  // namespace
