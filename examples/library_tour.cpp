// A first client of the library: it creates the library object by class name, lays a text segment over
// a piece of C, visits every call of f( outside /* comments */ with a pattern iterator, renames two of
// them, and shows how a failure comes back with its error record. Run it with scripts/run.
#include <scrivix/scrivix.h>

#include <cstdio>
#include <string>

namespace {

std::string Narrow(const OLECHAR* text, UINT length) {
    std::string out;
    for (UINT i = 0; i < length; ++i) out += text[i] < 0x80 ? static_cast<char>(text[i]) : '?';
    return out;
}
std::string Narrow(BSTR text) { return Narrow(text, SysStringLen(text)); }

// Owns a BSTR for the length of a call.
struct Text {
    explicit Text(const char16_t* value) : bstr(SysAllocString(value)) {}
    ~Text() { SysFreeString(bstr); }
    BSTR bstr;
};

int Fail(const char* what, HRESULT hr) {
    std::fprintf(stderr, "%s failed: 0x%08X\n", what, static_cast<unsigned>(hr));
    return 1;
}

}  // namespace

int main() {
    CLSID clsid{};
    HRESULT hr = CLSIDFromProgID(u"Scrivix.ScrivixSvr", &clsid);
    if (FAILED(hr)) return Fail("CLSIDFromProgID(\"Scrivix.ScrivixSvr\")", hr);
    IScrivixLib* library = nullptr;
    hr = CoCreateInstance(clsid, nullptr, CLSCTX_ALL, IID_IScrivixLib, reinterpret_cast<void**>(&library));
    if (FAILED(hr)) return Fail("CoCreateInstance(ScrivixSvr)", hr);
    BSTR version = nullptr;
    library->get_Version(&version);
    std::printf("Scrivix %s\n\n", Narrow(version).c_str());
    SysFreeString(version);

    ITextSegment* segment = nullptr;
    if (FAILED(hr = library->NewTextSegment(nullptr, &segment))) return Fail("NewTextSegment", hr);
    Text source(u"int f(int x); /* f(x) is declared here */\nint main() { return f(1) + f(2); }\n");
    segment->put_Text(source.bstr);

    // Targets: the literal "f("; ignored: C comments, as a regular expression.
    Text target(u"f("), comment(u"/\\*.*\\*/");
    IPatternIterator* calls = nullptr;
    if (FAILED(hr = segment->FindPattern(target.bstr, poNone, comment.bstr, poRegExpression, &calls)))
        return Fail("FindPattern", hr);
    Text renamed(u"g(");
    int count = 0;
    for (VARIANT_BOOL at_end = VARIANT_FALSE; SUCCEEDED(calls->End(&at_end)) && !at_end; calls->Next(nullptr)) {
        LONG offset = 0;
        calls->Offset(&offset);
        std::printf("f( at offset %d\n", offset);
        // Rename the calls inside main; the iterator continues behind the new text.
        if (++count > 1) calls->Replace(renamed.bstr);
    }
    BSTR result = nullptr;
    segment->get_Text(&result);
    std::printf("\nafter renaming the calls in main:\n%s\n", Narrow(result).c_str());
    SysFreeString(result);

    // A failure: the status comes back, and the thread's error record says why.
    Text bad_expression(u"a**");
    IPatternIterator* broken = nullptr;
    hr = segment->FindPattern(bad_expression.bstr, poRegExpression, nullptr, 0, &broken);
    IErrorInfo* info = nullptr;
    BSTR description = nullptr;
    if (GetErrorInfo(0, &info) == S_OK) {
        info->GetDescription(&description);
        info->Release();
    }
    std::printf("FindPattern(\"a**\", poRegExpression) -> 0x%08X: %s\n", static_cast<unsigned>(hr),
                Narrow(description).c_str());
    SysFreeString(description);
    if (broken) broken->Release();

    calls->Release();
    segment->Release();
    library->Release();
    std::printf("module can unload: %s\n", DllCanUnloadNow() == S_OK ? "yes" : "no");
    return 0;
}
