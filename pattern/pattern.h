// DPattern: the object every search goes through. It holds a search text, option bits and a look-ahead
// distance, and finds its text in the buffer behind a buffer segment, forwards (`Find`) or backwards
// (`FindReverse`): as a literal with whole word, ignore case and skip spaces, or, with poRegExpression,
// as a regular expression compiled when the options are put. One template over the character type
// makes PatternA and PatternU.
#pragma once

#include "frame/dispatch.h"
#include "frame/object.h"
#include "pattern/literal_search.h"
#include "pattern/pattern_template.h"

#include <memory>
#include <string>

namespace scrivix {

template <class T, const CLSID& Clsid>
class DPattern : public ObjectRoot, public SupportErrorInfo<IPattern>, public Dual<IPattern> {
public:
    using MainInterface = IPattern;
    using Interfaces = InterfaceTable<Entry<IPattern>, Entry<IDispatch, IPattern>, Entry<ISupportErrorInfo>>;
    static const CLSID& ClassId() { return Clsid; }
    static constexpr bool kAggregatable = true;

    // The look-ahead of a new pattern, in characters.
    static constexpr LONG kDefaultLookAhead = 2048;

    HRESULT STDMETHODCALLTYPE get_Text(BSTR* Text) override;
    HRESULT STDMETHODCALLTYPE put_Text(BSTR Text) override;
    HRESULT STDMETHODCALLTYPE get_LookAhead(LONG* Distance) override;
    HRESULT STDMETHODCALLTYPE put_LookAhead(LONG Distance) override;
    HRESULT STDMETHODCALLTYPE get_Options(LONG* Options) override;
    HRESULT STDMETHODCALLTYPE put_Options(LONG Options) override;
    HRESULT STDMETHODCALLTYPE Find(IBufferSegment* Source, LONG* Start, LONG* End, VARIANT_BOOL* Found) override;
    HRESULT STDMETHODCALLTYPE FindReverse(IBufferSegment* Source, LONG* Start, LONG* End,
                                          VARIANT_BOOL* Found) override;

private:
    enum class Direction { forward, backward };
    HRESULT Search(Direction direction, IBufferSegment* source, LONG* start, LONG* end, VARIANT_BOOL* found);
    // The occurrence [match_start, match_end) of this pattern that begins in the range the contract gives
    // for `direction`, in the buffer [begin, begin + n).
    bool SearchBuffer(Direction direction, const T* begin, LONG n, LONG start, LONG end, const T*& match_start,
                      const T*& match_end);
    bool IsExpression() const { return (options_ & poRegExpression) != 0; }

    std::basic_string<T> text_;
    LONG options_ = poNone;
    LONG look_ahead_ = kDefaultLookAhead;
    // Built from the text and options whenever either is put, so that a search allocates nothing.
    LiteralSearch<T> literal_;
    // Present only after a successful put of options with poRegExpression.
    std::unique_ptr<DPatternTemplate<T>> program_;
};

using PatternA = DPattern<char, CLSID_PatternA>;
using PatternU = DPattern<char16_t, CLSID_PatternU>;

}  // namespace scrivix
