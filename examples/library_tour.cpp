// A first client of the library: it creates the library object by class name, asks for its version,
// shows how a class name and a class id resolve, and reads back the error record of a failed call.
// Build and run it with scripts/run (see the README).
#include <scrivix/scrivix.h>

#include <cstdio>
#include <string>

namespace {

std::string Narrow(const OLECHAR* text) {
    std::string out;
    for (; text && *text; ++text) out += *text < 0x80 ? static_cast<char>(*text) : '?';
    return out;
}

std::u16string Widen(const char* text) {
    std::u16string out;
    for (; *text; ++text) out += static_cast<char16_t>(static_cast<unsigned char>(*text));
    return out;
}

int Fail(const char* what, HRESULT hr) {
    std::fprintf(stderr, "%s failed: 0x%08X\n", what, static_cast<unsigned>(hr));
    return 1;
}

}  // namespace

int main() {
    CLSID clsid{};
    HRESULT hr = CLSIDFromProgID(u"Scrivix.ScrivixSvr", &clsid);
    if (FAILED(hr)) return Fail("CLSIDFromProgID(\"Scrivix.ScrivixSvr\")", hr);
    OLECHAR text[40];
    StringFromGUID2(clsid, text, 40);
    std::printf("Scrivix.ScrivixSvr is class %s\n", Narrow(text).c_str());

    IScrivixLib* library = nullptr;
    hr = CoCreateInstance(clsid, nullptr, CLSCTX_ALL, IID_IScrivixLib, reinterpret_cast<void**>(&library));
    if (FAILED(hr)) return Fail("CoCreateInstance(ScrivixSvr)", hr);

    BSTR version = nullptr;
    library->get_Version(&version);
    std::printf("library version %s\n", Narrow(version).c_str());
    SysFreeString(version);

    // A class name that names nothing: the failure comes back as a status code.
    BSTR name = SysAllocString(Widen("Scrivix.NoSuchPattern").c_str());
    IPattern* pattern = nullptr;
    hr = library->NewPattern(name, &pattern);
    std::printf("NewPattern(\"Scrivix.NoSuchPattern\") -> 0x%08X\n", static_cast<unsigned>(hr));
    SysFreeString(name);

    library->Release();
    std::printf("module can unload: %s\n", DllCanUnloadNow() == S_OK ? "yes" : "no");
    return 0;
}
